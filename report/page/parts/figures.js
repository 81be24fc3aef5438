// The figures of a part of the log, calculated from what the page draws of it. Where several short
// spans were merged into one, or an interval between two samples is cut, a part of it counts in
// proportion to its length, and the table says so.

// What of [from, to] a span covers: its seconds, how often, and whether that is an estimate.
function cutOf({begin, end, held, count}, from, to) {
  const seconds = Math.min(end, to) - Math.max(begin, from);
  if (seconds < 0) return null;
  if (count === 1) return {seconds, count, share: 1, estimated: false};
  const share = end > begin ? seconds / (end - begin) : 1;
  return {seconds: held * share, count: Math.max(1, Math.round(count * share)), share, estimated: true};
}

// The intervals between samples that [from, to] touches, with the share of each that is in it.
function* sharesOf(intervals, from, to) {
  for (const interval of intervals) {
    const length = interval.end - interval.begin;
    const inside = Math.min(interval.end, to) - Math.max(interval.begin, from);
    if (inside > 0 || length === 0 && inside === 0) yield {interval, inside, share: length > 0 ? inside / length : 1};
  }
}

// As in LogSummary: the process that a wake was for, or the packet that none expected.
function ownerOfWake({who, detail}) {
  const port = detail.indexOf(' to port ');
  if (who || port < 0) return who || detail;
  return `no process (${detail.split(' ')[0]}${detail.slice(port)})`;
}

// Sums by key, in the order of their greatest measure.
class Sums {
  constructor() {
    this.sums = new Map();
  }

  at(key, first) {
    if (!this.sums.has(key)) this.sums.set(key, first);
    return this.sums.get(key);
  }

  by(measure) {
    return [...this.sums.values()].sort((one, other) => other[measure] - one[measure]);
  }
}

class Figures {
  constructor(data, summary, clock) {
    Object.assign(this, {data, clock, account: summary.account});
    // Seconds asleep before each sleep.
    this.asleepBefore = [0];
    for (const {held} of data.lanes.asleep) this.asleepBefore.push(this.asleepBefore.at(-1) + held);
    this.energy = new Map(summary.sleeps.map((sleep) => [sleep[0], sleep]));
    let after = -Infinity;
    for (const interval of this.account?.intervals ?? []) {
      interval.begin = clock.axis(interval.begin, after);
      interval.end = after = Math.max(interval.begin, clock.axis(interval.end, interval.begin));
    }
  }

  // What is in view. States may begin before the first entry that the page shows, and end after the
  // last one.
  range({from, to, begin, end}) {
    const {first, last} = this.data;
    return [from === begin ? Math.min(from, first) : Math.round(from), to === end ? Math.max(to, last) : Math.round(to)];
  }

  asleepUntil(time) {
    const {asleep} = this.data.lanes;
    const index = lastBefore(asleep, time);
    if (index < 0) return 0;
    const {begin, end, held} = asleep[index];
    return this.asleepBefore[index] + (time >= end ? held : held * (time - begin) / (end - begin));
  }

  asleep(from, to) {
    return this.asleepUntil(to) - this.asleepUntil(from);
  }

  // The stretch without the times that were not logged.
  covered(from, to) {
    let seconds = to - from;
    for (const span of this.data.lanes.silent) seconds -= cutOf(span, from, to)?.seconds ?? 0;
    return Math.max(0, seconds);
  }

  // The states of a lane: who, what, and how long in [from, to].
  tallies(lane, from, to, detailed = true) {
    const sums = new Sums();
    let estimated = false;
    for (const span of this.data.lanes[lane]) {
      const cut = cutOf(span, from, to);
      if (!cut) continue;
      estimated ||= cut.estimated;
      const what = detailed ? span.what : '';
      const sum = sums.at(`${span.who}\0${what}`, {who: span.who, what, seconds: 0, awake: 0, count: 0, longest: 0, several: false, lasts: false});
      sum.seconds += cut.seconds;
      sum.awake += Math.max(0, cut.seconds - this.asleep(Math.max(span.begin, from), Math.min(span.end, to)));
      sum.count += cut.count;
      sum.several ||= span.count > 1;
      if (span.count === 1) sum.longest = Math.max(sum.longest, cut.seconds);
      sum.lasts = !span.endKnown || span.end > to;
    }
    return {tallies: sums.by('seconds'), estimated};
  }

  // Calculates the named table's rows: values by the names of their columns. A row may have places
  // of the log to which it leads.
  rows(name, from, to, words) {
    return this[`rowsOf${name[0].toUpperCase()}${name.slice(1)}`](from, to, words);
  }

  rowsOfWakeReasons(from, to) {
    return this.wakes('Reason', from, to, ({what}) => what);
  }

  rowsOfWakeOwners(from, to) {
    return this.wakes('For', from, to, ownerOfWake);
  }

  wakes(column, from, to, nameOf) {
    const sums = new Sums();
    let all = 0, estimated = false;
    for (const span of this.data.lanes.wakes) {
      const cut = cutOf(span, from, to);
      if (!cut) continue;
      estimated ||= cut.estimated && cut.share < 1;
      all += cut.count;
      const name = nameOf(span);
      if (name) sums.at(name, {name, count: 0}).count += cut.count;
    }
    return {estimated, rows: sums.by('count').map(({name, count}) => ({[column]: name, Wakes: count, Share: 100 * count / all}))};
  }

  rowsOfHolders(from, to) {
    const covered = this.covered(from, to);
    const {tallies, estimated} = this.tallies('assertion', from, to);
    // Blame goes by the time awake, not by that in which it was held.
    tallies.sort((one, other) => other.awake - one.awake);
    return {estimated, rows: tallies.map(({who, what, seconds, awake, count, longest, several: merged, lasts}) => ({
      Process: who || (merged ? 'several' : ''), Assertion: what + (lasts ? ' (still)' : ''), Awake: awake,
      Share: covered > 0 ? 100 * awake / covered : null, Held: seconds, Times: count, Longest: merged && !longest ? null : longest,
    }))};
  }

  rowsOfApplications(from, to) {
    const covered = this.covered(from, to);
    const {tallies, estimated} = this.tallies('application', from, to);
    return {estimated, rows: tallies.map(({who, what, seconds, count}) => ({
      Application: who, Mode: what, Time: seconds, Share: covered > 0 ? 100 * seconds / covered : null, Times: count}))};
  }

  rowsOfStates(from, to) {
    const states = [['display', 'Display'], ['audio', 'Audio'], ['call', 'Call'], ['data', 'Data'], ['registered', 'Network'], ['wifi', 'Wi-Fi'],
                    ['charging', 'Charger'], ['bluetooth', 'Bluetooth'], ['location', 'Location'], ['thermal', 'Thermal level']];
    const covered = this.covered(from, to);
    const rows = [];
    let estimated = false;
    for (const [lane, name] of states) {
      const found = this.tallies(lane, from, to, lane !== 'display');
      estimated ||= found.estimated;
      for (const {who, what, seconds, count} of found.tallies) {
        rows.push({What: name, State: [who, what].filter(Boolean).join(' ') || null, Time: seconds,
                   Share: covered > 0 ? 100 * seconds / covered : null, Times: count});
      }
    }
    return {estimated, rows};
  }

  // How the intervals in [from, to] were used, by name.
  uses(intervals, from, to) {
    const sums = new Sums();
    let all = 0, seconds = 0, estimated = false, named = 0;
    for (const {interval, inside, share} of sharesOf(intervals, from, to)) {
      estimated ||= share < 1;
      seconds += inside;
      all += interval.amount * share;
      for (const {name, amount: used} of interval.uses) {
        sums.at(name, {name, used: 0}).used += used * share;
        named += used * share;
      }
    }
    const left = all - named;
    return {uses: sums.by('used'), all, seconds, estimated, left: left > all / 1e6 ? left : 0};
  }

  rowsOfProcesses(from, to) {
    const {uses, all, seconds, estimated, left} = this.uses(this.data.work, from, to);
    const row = (name, used) => ({Process: name, Used: used, Share: all > 0 ? 100 * used / all : null, 'Of one CPU': seconds > 0 ? 100 * used / seconds : null});
    const rows = uses.map(({name, used}) => row(name, used));
    if (left) rows.push(row('(others, which were less busy)', left));
    return {rows, estimated};
  }

  rowsOfModem(from, to) {
    const {uses, all, estimated} = this.uses(this.data.modem, from, to);
    return {estimated, rows: uses.map(({name, used}) => ({State: name, Time: used / 1000, Share: all > 0 ? 100 * used / all : null}))};
  }

  rowsOfTraffic(from, to) {
    const sum = {received: 0, sent: 0};
    let estimated = false;
    for (const {interval, share} of sharesOf(this.data.traffic, from, to)) {
      estimated ||= share < 1;
      sum.received += interval.received * share;
      sum.sent += interval.sent * share;
    }
    const hours = this.covered(from, to) / 3600;
    return {estimated, rows: !this.data.traffic.length ? []
        : Object.entries(sum).map(([direction, amount]) => ({Direction: direction, Amount: amount, 'Per hour': hours > 0 ? amount / hours : null}))};
  }

  // The energy of a sleep that is cut is that of its whole, in proportion.
  rowsOfSleeps(from, to) {
    const rows = [];
    const {asleep, wakes} = this.data.lanes;
    let estimated = false;
    for (const span of asleep) {
      const cut = cutOf(span, from, to);
      if (!cut || cut.seconds === 0) continue;
      const wake = wakes[lastBefore(wakes, span.end)];
      const woken = span.count === 1 && span.endKnown && span.end <= to && wake && wake.begin === span.end;
      const by = span.count > 1 ? `several: ${several(cut.count, 'short sleep', 'short sleeps')}`
          : span.end > to ? 'continues' : !span.endKnown ? 'its end is not in the log'
          : woken ? wake.what + (wake.detail ? `: ${wake.detail}` : '') : '';
      const local = span.begin - this.clock.shiftAt(span.begin);
      const [, used, wattHours, deep] = this.energy.get(local) ?? [];
      const share = span.held > 0 ? cut.seconds / span.held : 1;
      const isCut = share < 1 && (used ?? wattHours ?? null) !== null;
      estimated ||= isCut || span.count > 1;
      const part = (whole) => whole === undefined || whole === null ? null : whole * share;
      const energy = part(wattHours);
      rows.push({
        From: Math.max(span.begin, from) - this.clock.shiftAt(Math.max(span.begin, from)), Length: cut.seconds,
        'Ended by': by, For: woken && wake.who || null,
        Used: part(used), Energy: energy, Power: energy === null ? null : energy * 3600 / cut.seconds, Deep: deep ?? null,
        places: [span],
      });
    }
    // The longest first, if they are too many to read.
    if (rows.length > kFewRows) rows.sort((one, other) => other.Length - one.Length);
    return {estimated, rows};
  }

  rowsOfErrors(from, to, words) {
    return this.moments('errors', from, to, words);
  }

  rowsOfEvents(from, to, words) {
    return this.moments('events', from, to, words);
  }

  // Events of the same words are one row; where their numbers differ, a # stands for these.
  moments(lane, from, to, words) {
    const sums = new Sums();
    let estimated = false;
    for (const span of this.data.lanes[lane]) {
      if (words && !hasWords(span, words)) continue;
      const cut = cutOf(span, from, to);
      if (!cut) continue;
      estimated ||= cut.estimated && cut.share < 1;
      span.pattern ??= span.detail.replace(/\b(0x)?\d[\d.:]*[\da-f]*\b|\b[\da-f]{8,}\b/gi, '#');
      const sum = sums.at(`${span.what}\0${span.pattern}`, {what: span.what, text: span.detail, pattern: span.pattern, count: 0, places: []});
      if (sum.text !== span.detail) sum.text = sum.pattern;
      sum.count += cut.count;
      sum.places.push(span);
    }
    const local = (at) => at - this.clock.shiftAt(at);
    return {estimated, rows: sums.by('count').map(({what, text, count, places}) => ({
      Category: what, [lane === 'errors' ? 'Error' : 'Event']: text, Times: count,
      First: local(places[0].begin), Last: count > 1 ? local(places.at(-1).end) : null, places}))};
  }

  // Percent of a full battery, by part. What they leave of the measured use is not attributed.
  rowsOfAccount(from, to) {
    const {parts, intervals, wattHours} = this.account;
    const sums = parts.map(() => 0);
    let used = 0, seconds = 0, estimated = false;
    for (const {interval, inside, share} of sharesOf(intervals, from, to)) {
      estimated ||= share < 1;
      seconds += inside;
      used += interval.used * share;
      for (const [part, percent] of interval.parts) sums[part] += percent * share;
    }
    const left = used - sums.reduce((sum, percent) => sum + percent, 0);
    const cells = (percent) => ({Used: percent, Energy: wattHours > 0 ? percent * wattHours : null,
                                 Power: wattHours > 0 && seconds > 0 ? percent * wattHours * 3600 / seconds : null,
                                 Share: used > 0 ? 100 * percent / used : null});
    const basis = ({measured, error, uncertain}, percent) => [measured ? 'measured' : 'estimated',
      ...(percent * error >= 0.05 ? [`\u00b1\u00a0${amount(percent * error)}\u00a0%`] : []), ...(uncertain ? ['uncertain'] : [])].join(', ');
    const rows = parts.map((part, i) => ({
      Part: [part.what, part.name].filter(Boolean).join(': '), How: basis(part, sums[i]),
      ...cells(sums[i]), className: part.measured ? '' : 'estimated'}))
        .filter((row) => row.Used !== 0).sort((one, other) => other.Used - one.Used);
    const footer = [{Part: 'Unattributed', How: 'what is left', ...cells(left)}, {Part: 'Battery', How: 'measured', ...cells(used)}];
    return {rows, footer, estimated};
  }

  // In sentences.
  facts(from, to) {
    const facts = [];
    const covered = this.covered(from, to);
    const points = this.data.curves.level?.points ?? [];
    const [before, after] = [from, to].map((at) => points[lastBefore(points, at, 0)]);
    const first = before ?? points[0];
    const charged = this.tallies('charging', from, to).tallies.reduce((sum, {seconds}) => sum + seconds, 0);
    if (after) {
      const lost = first[1] - after[1];
      const hours = (Math.min(to, after[0]) - Math.max(from, first[0])) / 3600;
      const rate = lost > 0 && charged === 0 && hours > 1 / 60 ? `, about ${amount(lost / hours)}\u00a0% per hour` : '';
      facts.push(`The level went from ${amount(first[1])}\u00a0% to ${amount(after[1])}\u00a0%${rate}.`);
    }
    const asleep = this.asleep(from, to);
    if (covered > 0) {
      facts.push(asleep > 0 ? `Asleep ${duration(asleep)}, ${amount(100 * asleep / covered, 0)}\u00a0% of the time; awake ${duration(covered - asleep)}.`
          : `Awake all the time, ${duration(covered)}.`);
    }
    if (charged > 0) facts.push(`On a charger ${duration(charged)}.`);
    const lit = this.tallies('display', from, to, false).tallies.reduce((sum, {seconds}) => sum + seconds, 0);
    if (lit > 0) facts.push(`Display lit ${duration(lit)}.`);
    const count = (lane) => this.data.lanes[lane].reduce((sum, span) => sum + (cutOf(span, from, to)?.count ?? 0), 0);
    const [wakes, errors] = [count('wakes'), count('errors')];
    if (wakes > 0) facts.push(`${several(wakes, 'wake', 'wakes')}${covered > 0 ? `, ${amount(wakes * 3600 / covered)} per hour` : ''}.`);
    if (errors > 0) facts.push(`${several(errors, 'error', 'errors')}.`);
    if (covered < to - from) facts.push(`Not logged: ${duration(to - from - covered)}.`);
    return facts;
  }
}

// Whether an event is of the words that were typed.
function hasWords({what, detail}, words) {
  const text = `${what} ${detail}`.toLowerCase();
  return words.toLowerCase().split(/\s+/).every((word) => text.includes(word));
}
