// What all parts share: the visible range, the moment under the cursor, the process.

class View {
  constructor(begin, end) {
    this.begin = begin;
    this.end = end;
    this.from = begin;
    this.to = end;
    this.cursor = null;  // the moment under the cursor
    this.pin = null;     // the moment that stays when the pointer leaves
    this.process = '';
    this.words = '';     // of the events that are looked for
    this.painters = [];
    this.waiting = new Set();
  }

  // The painter is called before the next frame when one of these has changed: "range", "cursor",
  // "process", "words", "look" (theme or size).
  on(what, painter) {
    this.painters.push({what: what.split(' '), painter});
  }

  changed(what) {
    if (this.waiting.size === 0) requestAnimationFrame(() => this.paint());
    this.waiting.add(what);
  }

  paint() {
    const waiting = this.waiting;
    this.waiting = new Set();
    const started = performance.now();
    for (const {what, painter} of this.painters) {
      if (what.some((one) => waiting.has(one))) painter();
    }
    // For performance measurements. Only the last one is kept.
    if (waiting.has('range')) {
      performance.clearMeasures('redraw');
      performance.measure('redraw', {start: started, end: performance.now()});
    }
  }

  get width() {
    return this.to - this.from;
  }

  show(from, to) {
    const kNarrowest = 10;  // seconds
    const whole = this.end - this.begin;
    const width = Math.min(Math.max(to - from, Math.min(kNarrowest, whole)), whole);
    const middle = (from + to) / 2;
    from = Math.min(Math.max(middle - width / 2, this.begin), this.end - width);
    if (from === this.from && from + width === this.to) return;
    this.from = from;
    this.to = from + width;
    this.changed('range');
  }

  zoom(factor, around = this.cursor ?? (this.from + this.to) / 2) {
    const at = Math.min(Math.max(around, this.from), this.to);
    const width = Math.min(this.width * factor, this.end - this.begin);
    const from = at - (at - this.from) / this.width * width;
    this.show(from, from + width);
  }

  move(by) {
    this.show(this.from + by, this.to + by);
  }

  look(at) {
    if (at !== null) at = Math.round(Math.min(Math.max(at, this.begin), this.end));
    if (at === this.cursor) return;
    this.cursor = at;
    this.changed('cursor');
  }

  // Moves the cursor to a moment and brings it into view.
  go(at) {
    this.look(at);
    const margin = this.width / 20;
    if (at < this.from || at > this.to) this.show(at - this.width / 2, at + this.width / 2);
    else if (at < this.from + margin) this.move(at - this.from - margin);
    else if (at > this.to - margin) this.move(at - this.to + margin);
  }

  setPin(at) {
    this.pin = at === null ? null : Math.round(at);
    this.look(this.pin);
    this.changed('cursor');
  }

  get isWhole() {
    return this.from === this.begin && this.to === this.end;
  }

  find(words) {
    this.words = words.trim();
    this.changed('words');
  }

  choose(process) {
    this.process = process;
    this.changed('process');
  }
}
