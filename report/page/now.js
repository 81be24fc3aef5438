// Tells in words what was going on at the moment under the cursor.

// Texts of the log become text nodes and nothing else.
function element(name, className, ...content) {
  const made = document.createElement(name);
  if (className) made.className = className;
  made.append(...content);
  return made;
}

class Now {
  constructor(place, lanes, curves, onLines) {
    Object.assign(this, {place, lanes, curves, onLines, view: lanes.view, clock: lanes.clock});
    this.view.on('cursor range process look', () => this.paint());
  }

  paint() {
    const at = this.view.cursor;
    if (at === null) {
      this.place.replaceChildren(element('p', 'dim', 'Point at the timeline, or move along it with the arrow keys, and here is told what was going on.'));
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

  // In a sentence, for those who do not see it.
  sentence() {
    const at = this.view.cursor;
    if (at === null) return '';
    const values = this.curves.at(at).map(({curve, text}) => `${curve.label} ${text}`);
    const items = this.itemsAt(at).map(({row, span}) => `${row.lane.label ?? row.lane.group} ${row.lane.each === 'who' ? row.label : ''} ${shortText(row, span)}`.trim());
    return [this.clock.time(at), this.clock.day(at), ...values, ...items].join(', ');
  }

  values(at) {
    const list = element('dl', 'values');
    for (const {curve, text} of this.curves.at(at)) {
      list.append(element('div', '', element('dt', '', curve.label), element('dd', '', text)));
    }
    return list;
  }

  // What lasts at the moment, and what happened within some pixels of it.
  itemsAt(at) {
    const items = [];
    for (const row of this.lanes.rows) {
      const found = this.found(row, at);
      const most = row.lane.each ? 5 : 3;
      if (found.length > most) items.push({row, span: this.together(row, found)});
      else items.push(...found.map((span) => ({row, span})));
      if (row.lane.lane === 'asleep' && !found.length) items.push(...this.awake(row, at));
    }
    // Who has just woken is told of once.
    const woken = items.find(({row}) => row.lane.lane === 'awake')?.span.wake;
    return woken ? items.filter(({span}) => span !== woken) : items;
  }

  found(row, at) {
    const {perPixel, data} = this.lanes;
    const near = 4 * perPixel;
    if (row.lane.kind === 'marks') return row.between(at - near, at + near);
    const lasts = ({begin, end}) => begin <= at && (end > at || end === data.end);
    if (row.lane.kind === 'bars') return row.between(at, at).filter((span) => lasts(span) && this.lanes.shareOf(row, span) > 0).slice(-1);
    // What is narrower than a pixel counts where the pixel is.
    const touch = 0.75 * perPixel;
    return row.between(at - touch, at + touch).filter((span) => lasts(span) || span.end - span.begin <= 2 * touch);
  }

  // More than can be told one by one: how often there was what.
  together(row, spans) {
    const counts = new Map();
    for (const span of spans) {
      const text = row.lane.each === 'who' ? span.what : shortText(row, span);
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

  awake(row, at) {
    const index = lastBefore(row.items, at, 'end');
    const wakes = this.lanes.data.lanes.wakes;
    const wake = wakes[lastBefore(wakes, at)];
    if (index < 0 && !wake) return [];
    const begin = index < 0 ? wake.begin : row.items[index].end;
    const next = row.items[index + 1]?.begin ?? this.lanes.data.end;
    const why = wake && wake.begin >= begin - 1 ? wake : null;
    return [{row: {...row, lane: {...row.lane, label: 'Awake', lane: 'awake', colour: '--wake', pattern: ''}},
             span: {...why, wake: why, begin, end: next, first: why?.first ?? row.items[index]?.first ?? 0,
                    beginKnown: true, endKnown: true, count: 1, held: next - begin}}];
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
      const told = uses.slice(0, 4).map(({name, amount: seconds}) => `${name} ${duration(seconds)}`).join(', ');
      words.push(strong('Processor '), `${duration(this.lanes.workOf(span))}${told ? `: ${told}` : ''}`);
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
    if (span.count > 1) return `${span.count} short ones, in all ${duration(span.held)}, from ${time(span.begin)} to ${time(span.end)}`;
    const from = span.beginKnown ? `since ${time(span.begin)}` : `since before ${time(Math.max(span.begin, this.view.begin))}`;
    return `${from}, ${span.endKnown ? '' : 'at least '}${duration(span.held)}`;
  }
}
