// Describes in words the state at the moment under the cursor.

// Texts of the log become text nodes and nothing else.
function element(name, className, ...content) {
  const made = document.createElement(name);
  if (className) made.className = className;
  made.append(...content);
  return made;
}

// How a pointer is used: with a finger, or with a mouse.
const byTouch = (touch, mouse) => matchMedia('(pointer: coarse)').matches ? touch : mouse;

class Now {
  constructor(place, lanes, curves, onLines) {
    Object.assign(this, {place, lanes, curves, onLines, view: lanes.view, clock: lanes.clock});
    this.view.on('cursor range process look', () => this.paint());
  }

  paint() {
    const at = this.view.cursor;
    if (at === null) {
      this.place.replaceChildren(element('p', 'dim', byTouch('Tap the timeline to see the state at that moment here, and the log\u2019s lines.',
          'Point at the timeline, or move along it with the arrow keys, to see the state at that moment here. A click pins the moment and shows the log\u2019s lines.')));
      return;
    }
    const head = element('h3', '', this.clock.time(at), element('span', 'dim', ` ${this.clock.day(at)}`));
    if (this.view.pin === at) head.append(element('span', 'pinned', 'pinned'));
    const items = this.itemsAt(at);
    const key = (item) => `${item.row.lane.lane} ${item.span.begin} ${item.span.first}`;
    const focused = this.place.contains(document.activeElement) ? document.activeElement.dataset.key : null;
    const list = element('ul', '', ...items.map((item) => {
      const button = element('button', 'item', this.swatch(item.row), element('span', 'what', ...this.words(item)));
      button.type = 'button';
      button.dataset.key = key(item);
      button.title = 'Show its first line in the log';
      button.addEventListener('click', () => this.onLines(item.span.first, item.span.begin));
      return element('li', this.lanes.isOwn(item.row, item.span) ? '' : 'faint', button);
    }));
    this.place.replaceChildren(head, this.values(at), list);
    if (focused) [...this.place.querySelectorAll('button')].find((one) => one.dataset.key === focused)?.focus();
  }

  // In a sentence, for screen readers.
  sentence() {
    const at = this.view.cursor;
    if (at === null) return '';
    const values = this.curves.at(at).map(({curve, text}) => `${curve.label} ${text}`);
    const items = this.itemsAt(at).map((item) => this.words(item).map((part) => part.textContent ?? part).join(' '));
    return [this.clock.time(at), this.clock.day(at), ...values, ...items].join('; ');
  }

  values(at) {
    const list = element('dl', 'values');
    for (const {curve, text} of this.curves.at(at)) {
      list.append(element('div', '', element('dt', '', curve.label), element('dd', '', text)));
    }
    return list;
  }

  // States that last at the moment are listed one by one, unless they are too many to read. So are
  // events within some pixels of it, if they are few.
  itemsAt(at) {
    const items = [];
    for (const row of this.lanes.rows) {
      if (row.process !== undefined) continue;  // all processes are listed together
      const {lasting, near} = this.found(row, at);
      for (const [spans, most] of [[lasting, 100], [near, row.lane.each ? 5 : 3]]) {
        if (spans.length > most) items.push({row, span: this.together(row, spans)});
        else items.push(...spans.map((span) => ({row, span})));
      }
    }
    if (items.some(({row}) => ['asleep', 'silent'].includes(row.lane.lane))) return items;
    const awake = this.awake(at);
    // The wake that has just ended the sleep is listed once.
    return [awake, ...items.filter(({span}) => span !== awake.span.wake)];
  }

  found(row, at) {
    const {perPixel, data} = this.lanes;
    const lasts = ({begin, end}) => begin <= at && (end > at || end === data.end);
    if (row.lane.kind === 'marks') return {lasting: [], near: row.between(at - 4 * perPixel, at + 4 * perPixel)};
    if (row.lane.kind === 'bars') return {lasting: row.between(at, at).filter((span) => lasts(span) && this.lanes.shareOf(row, span) > 0).slice(-1), near: []};
    // A span narrower than a pixel counts everywhere in its pixel.
    const touch = 0.75 * perPixel;
    const lasting = [], near = [];
    for (const span of row.between(at - touch, at + touch)) {
      if (lasts(span) && span.count === 1) lasting.push(span);
      else if (lasts(span) || span.end - span.begin <= 2 * touch) near.push(span);
    }
    return {lasting, near};
  }

  // If there are too many to list: how often each occurred.
  together(row, spans) {
    const counts = new Map();
    for (const span of spans) {
      const text = row.lane.each !== 'who' ? shortText(row, span)
          : span.who === row.label ? span.what : `${span.who} \u201c${span.what}\u201d`;
      counts.set(text, (counts.get(text) ?? 0) + span.count);
    }
    const sorted = [...counts].filter(([text]) => text).sort(([, one], [, other]) => other - one);
    return {
      ...spans[0], what: '', detail: '', pid: 0, who: row.lane.each === 'who' ? spans[0].who : '',
      end: Math.max(...spans.map(({end}) => end)),
      count: spans.reduce((sum, {count}) => sum + count, 0),
      held: spans.reduce((sum, {held}) => sum + held, 0),
      counts: sorted.slice(0, 4).map(([text, count]) => `${count} \u00d7 ${text}`).join(', ') + (sorted.length > 4 ? ' \u2026' : ''),
    };
  }

  // A device that writes a log is awake, even before the first sleep and after the last one.
  awake(at) {
    const {asleep, wakes} = this.lanes.data.lanes;
    const index = lastBefore(asleep, at, 'end');
    const [before, next] = [asleep[index], asleep[index + 1]];
    const wake = wakes[lastBefore(wakes, at)];
    const begin = before?.end ?? wake?.begin ?? this.view.begin;
    const end = next?.begin ?? this.view.end;
    const why = wake && wake.begin >= begin - 1 ? wake : null;
    return {row: {lane: {group: 'Sleep', lane: 'awake', label: 'Awake', colour: '--wake'}},
            span: {...why, wake: why, begin, end, first: why?.first ?? before?.first ?? 0, beginKnown: Boolean(before ?? wake),
                   endKnown: Boolean(next), count: 1, held: end - begin}};
  }

  swatch(row) {
    const mark = element('span', `swatch ${row.lane.pattern ?? ''}`);
    mark.style.setProperty('--colour', `var(${row.lane.colour})`);
    return mark;
  }

  words({row, span}) {
    const {lane} = row.lane;
    const strong = (text) => element('b', '', text);
    const holder = span.pid ? `${span.who || '<unknown>'} (${span.pid})` : span.who;
    const words = [];
    if (span.counts !== undefined) {
      words.push(strong(row.lane.each ? row.label : row.lane.label), span.counts ? ` ${span.counts}` : '');
    } else if (lane === 'traffic') {
      words.push(strong('Traffic '), `${bytes(span.received)} in, ${bytes(span.sent)} out`);
    } else if (lane === 'work') {
      const uses = this.view.process ? span.uses.filter(({name}) => name === this.view.process) : span.uses;
      const listed = uses.map(({name, pid, amount: seconds}) => `${name} (${pid}) ${duration(seconds)}`).join(', ');
      words.push(strong('CPU time '), `${duration(this.lanes.workOf(span))}${listed ? `: ${listed}` : ''}`);
    } else if (lane === 'modem') {
      words.push(strong('Modem '), span.uses.map(({name, amount: time}) => `${name} ${duration(time / 1000)}`).join(', '));
    } else if (lane === 'wakes' || lane === 'awake') {
      words.push(strong(lane === 'awake' ? 'Awake' : span.count > 1 ? `${span.count} wakes` : 'Wake'));
      if (span.what) words.push(lane === 'awake' ? ', woken by ' : ' by ', span.what);
      if (span.detail) words.push(`: ${span.detail}`);
      if (holder) words.push(', for ', strong(holder));
    } else if (lane === 'errors' || lane === 'events') {
      words.push(strong(span.count > 1 ? `${span.count} \u00d7 ${span.what}` : span.what), ` ${span.detail}`);
    } else if (row.lane.each === 'who') {
      words.push(strong(holder || row.label), span.what ? ` \u201c${span.what}\u201d` : '');
    } else {
      const text = shortText(row, span);
      words.push(strong(row.lane.label), text ? ` ${text}` : '');
    }
    words.push(element('span', 'when', this.when(row, span)));
    return words;
  }

  when(row, span) {
    const time = (at) => this.clock.day(at) === this.clock.day(this.view.cursor) ? this.clock.time(at) : `${this.clock.day(at)} ${this.clock.time(at)}`;
    if (row.lane.kind === 'marks') return span.count > 1 ? `${span.count} from ${time(span.begin)} to ${time(span.end)}` : time(span.begin);
    if (row.lane.kind === 'bars') return `${time(span.begin)} to ${time(span.end)}`;
    if (span.count > 1) return `${span.count} times, in all ${duration(span.held)}, from ${time(span.begin)} to ${time(span.end)}`;
    const from = span.beginKnown ? `since ${time(span.begin)}` : `since before ${time(Math.max(span.begin, this.view.begin))}`;
    return `${from}, ${span.beginKnown && span.endKnown ? '' : 'at least '}${duration(span.held)}`;
  }
}
