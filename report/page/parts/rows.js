// The rows below the curves: which there are, what is in them, and which process it belongs to.

const kMaxRows = 8;  // of one lane that has a row for each holder or application
const kMaxBusy = 6;  // processes that have a row

// How the spans of each lane are drawn. A lane has a colour and a pattern, so that either alone
// identifies it.
const kLanes = [
  {group: 'Sleep', lane: 'asleep', label: 'Asleep', colour: '--asleep', pattern: 'slanted'},
  {group: 'Sleep', lane: 'wakes', label: 'Wakes', kind: 'marks', colour: '--wake'},
  {group: 'Sleep', lane: 'silent', label: 'Not logged', colour: '--event', pattern: 'crossed'},
  {group: 'Device', lane: 'display', label: 'Display', colour: '--display'},
  {group: 'Device', lane: 'audio', label: 'Audio', colour: '--audio'},
  {group: 'Device', lane: 'location', label: 'Location', each: 'what', colour: '--location', pattern: 'dots'},
  {group: 'Device', lane: 'charging', label: 'Charging', colour: '--charging', pattern: 'upright'},
  {group: 'Device', lane: 'thermal', label: 'Heat', colour: '--heat', pattern: 'crossed'},
  {group: 'Radio', lane: 'call', label: 'Call', colour: '--call'},
  {group: 'Radio', lane: 'data', label: 'Mobile data', colour: '--data', pattern: 'slanted'},
  {group: 'Radio', lane: 'registered', label: 'Network', colour: '--network', pattern: 'upright'},
  {group: 'Radio', lane: 'wifi', label: 'Wi-Fi', colour: '--wifi'},
  {group: 'Radio', lane: 'bluetooth', label: 'Bluetooth', colour: '--bluetooth', pattern: 'dots'},
  {group: 'Radio', lane: 'modem', label: 'Modem awake', kind: 'bars', colour: '--modem'},
  {group: 'Radio', lane: 'traffic', label: 'Traffic', kind: 'bars', colour: '--traffic'},
  {group: 'Kept awake by', lane: 'assertion', each: 'who', colour: '--assertion'},
  {group: 'Applications', lane: 'application', each: 'who', colour: '--application'},
  {group: 'CPU', lane: 'work', label: 'CPU time', kind: 'bars', colour: '--work'},
  {group: 'Log', lane: 'errors', label: 'Errors', kind: 'marks', colour: '--error'},
  {group: 'Log', lane: 'events', label: 'Events', kind: 'marks', colour: '--event'},
];

class Row {
  constructor(lane, label, items) {
    this.lane = lane;
    this.label = label;
    this.items = items;
    this.levels = lane.each ? this.setLevels() : 1;
    // The latest end up to each span: a state at a moment can have begun long before it.
    this.latest = new Float64Array(items.length);
    let latest = -Infinity;
    items.forEach((item, i) => {
      latest = Math.max(latest, item.end ?? item.begin);
      this.latest[i] = latest;
    });
  }

  // Overlapping spans lie one below the other, on at most three levels. Returns the number of
  // levels.
  setLevels() {
    const ends = [];
    for (const item of this.items) {
      const free = ends.findIndex((end) => end <= item.begin);
      item.level = Math.min(2, free < 0 ? ends.length : free);
      ends[item.level] = item.end;
    }
    return ends.length;
  }

  // The items that overlap the stretch, in their order.
  between(from, to) {
    let first = lastBefore(this.items, to);
    const found = [];
    for (; first >= 0 && this.latest[first] >= from; --first) {
      if (this.items[first].end >= from) found.push(this.items[first]);
    }
    return found.reverse();
  }
}

// One row for each holder, application or source, those of the longest time first. The rest share
// the last row.
function rowsOfEach(lane, spans) {
  const held = new Map();
  for (const span of spans) held.set(span[lane.each], (held.get(span[lane.each]) ?? 0) + span.held);
  const names = [...held.keys()].sort((one, other) => held.get(other) - held.get(one));
  const own = new Set(names.length > kMaxRows ? names.slice(0, kMaxRows - 1) : names);
  const merged = spans.some(({who, count}) => !who && count > 1);
  const label = (name) => lane.label ? `${lane.label}: ${name}` : name || (merged ? 'several' : 'unknown');
  const rows = [...own].map((name) => new Row(lane, label(name), spans.filter((span) => span[lane.each] === name)));
  const left = spans.filter((span) => !own.has(span[lane.each]));
  if (left.length) rows.push(new Row(lane, `${names.length - own.size} others`, left));
  return rows;
}

// A row for all processes, and one for each of the busiest. An interval names some processes only.
function rowsOfWork(lane, intervals) {
  const used = new Map();
  for (const {uses} of intervals) {
    for (const {name, amount: seconds} of uses) used.set(name, (used.get(name) ?? 0) + seconds);
  }
  const names = [...used.keys()].sort((one, other) => used.get(other) - used.get(one)).slice(0, kMaxBusy);
  const rows = [new Row(lane, 'All processes', intervals)];
  for (const process of names) {
    const own = intervals.flatMap((interval) => {
      const uses = interval.uses.filter(({name}) => name === process);
      return uses.length ? [{...interval, uses, amount: uses.reduce((sum, {amount: seconds}) => sum + seconds, 0)}] : [];
    });
    const row = new Row(lane, process || 'unknown', own);
    row.process = process;
    rows.push(row);
  }
  return rows;
}

// The rows for which the log has data, and the labels of those without.
function makeRows(data) {
  const rows = [];
  const absent = [];
  for (const lane of kLanes) {
    const items = data.lanes[lane.lane] ?? data[lane.lane];
    if (items.length === 0 && lane.lane === 'silent') continue;
    if (items.length === 0) absent.push(lane.label ?? lane.group.toLowerCase());
    else if (lane.lane === 'work') rows.push(...rowsOfWork(lane, items));
    else if (lane.each) rows.push(...rowsOfEach(lane, items));
    else rows.push(new Row(lane, lane.label, items));
  }
  return {rows, absent};
}

// The names of processes, and which items belong to each: by name, by the pid that goes with it, or
// by an application's id that ends in it.
class Processes {
  constructor(data) {
    this.numbers = new Map();
    const register = (name, pid) => {
      if (!name) return;
      if (!this.numbers.has(name)) this.numbers.set(name, new Set());
      if (pid) this.numbers.get(name).add(pid);
    };
    for (const {uses} of data.work) uses.forEach(({name, pid}) => register(name, pid));
    for (const lane of ['assertion', 'wakes']) data.lanes[lane].forEach(({who, pid}) => register(who, pid));
    for (const {who, pid} of data.lanes.application) {
      const name = who.split('.').at(-1);
      if (this.numbers.has(name)) register(name, pid);
      else if (![...this.numbers.values()].some((pids) => pids.has(pid))) register(who, pid);
    }
  }

  get names() {
    return [...this.numbers.keys()].sort((one, other) => one.localeCompare(other));
  }

  owns(process, {who, pid}) {
    return who === process || who.endsWith(`.${process}`) ||
        (pid !== 0 && this.numbers.get(process)?.has(pid) && who.includes('.'));
  }
}

// The cause of a wake: the shape of its mark.
function kindOfWake({what, count}) {
  if (count > 1) return 'several';
  if (/bb|baseband|modem/.test(what)) return 'modem';
  if (/rtc|alarm|timer/.test(what)) return 'clock';
  return /unknown|^$/.test(what) ? 'unknown' : 'other';
}

// A state that is on but uses hardly any power.
function isFaint({lane: {lane}}, {what}) {
  return lane === 'wifi' && /^<\w+>$/.test(what) || lane === 'bluetooth' && what !== 'connected' ||
      lane === 'application' && !what.startsWith('foreground') || lane === 'location' && what === 'cell' ||
      lane === 'charging' && what !== 'Active';
}

// A span in few words: on it, and at the cursor.
function shortText(row, item) {
  switch (row.lane.lane) {
    case 'display': {
      const [, now, most] = /^(\d+)\/(\d+)$/.exec(item.what) ?? [];
      return most > 0 ? `${Math.round(100 * now / most)}\u00a0%` : item.what;
    }
    case 'thermal': return item.what ? `level ${item.what}` : '';
    case 'wakes': return item.who || item.detail || item.what;
    case 'registered': return [item.who, item.what].filter(Boolean).join(' ');
    default: return item.what;
  }
}
