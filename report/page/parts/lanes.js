// Draws the axis, the rows and the overview.

class Lanes {
  constructor(place, data, view, clock, processes) {
    Object.assign(this, {place, data, view, clock, processes});
    const {rows, absent} = makeRows(data);
    this.rows = rows;
    this.absent = absent;
    this.axis = place.querySelector('.axis');
    this.canvas = place.querySelector('.lanes');
    this.stack = place.querySelector('.stack');
    this.patterns = new Map();
    this.busiest = {
      traffic: Math.max(1, ...data.traffic.map(({received, sent}) => received + sent)),
    };
    view.on('look', () => this.forgetStyle());
    view.on('range process words look', () => this.paint());
  }

  // Pixels of a moment, and back.
  x(at) {
    return this.plot.left + (at - this.view.from) / this.view.width * this.plot.width;
  }

  timeAt(x) {
    return this.view.from + (x - this.plot.left) / this.plot.width * this.view.width;
  }

  get perPixel() {
    return this.view.width / this.plot.width;
  }

  layOut() {
    this.width = this.stack.clientWidth;
    this.plot = Curves.plot(this.width);
    const rowHeight = this.plot.narrow ? 35 : 23;
    const groupHeight = 20;
    let top = 0, group = '';
    for (const row of this.rows) {
      row.heading = row.lane.group !== group ? row.lane.group : '';
      if (row.heading) top += groupHeight;
      group = row.lane.group;
      row.top = top;
      row.height = rowHeight;
      top += rowHeight;
    }
    this.height = top + 6;
  }

  context(canvas, width, height) {
    const scale = window.devicePixelRatio || 1;
    canvas.width = Math.round(width * scale);
    canvas.height = Math.round(height * scale);
    canvas.style.width = `${width}px`;
    canvas.style.height = `${height}px`;
    const context = canvas.getContext('2d');
    context.scale(scale, scale);
    context.textBaseline = 'middle';
    return context;
  }

  paint() {
    this.layOut();
    this.paintAxis();
    const context = this.context(this.canvas, this.width, this.height);
    context.font = `11px ${styleValue('--font')}`;
    this.paintGrid(context);
    for (const row of this.rows) {
      this.paintLabel(context, row);
      context.save();
      context.beginPath();
      // A mark on the edge is drawn whole.
      const over = row.lane.kind === 'marks' ? 6 : 0;
      context.rect(this.plot.left - over, row.top, this.plot.width + 2 * over, row.height);
      context.clip();
      if (row.lane.kind === 'marks') this.paintMarks(context, row);
      else if (row.lane.kind === 'bars') this.paintBars(context, row);
      else this.paintSpans(context, row);
      context.restore();
    }
  }

  colour(name) {
    return styleValue(name);
  }

  // The theme has changed.
  forgetStyle() {
    kStyleValues.clear();
    this.patterns.clear();
  }

  paintAxis() {
    const context = this.context(this.axis, this.width, 36);
    const {left, width} = this.plot;
    const {step, ticks} = this.clock.ticks(this.view.from, this.view.to, this.perPixel * (this.plot.narrow ? 62 : 80));
    const taken = [];
    // Centred on x, or from there on, but inside; not drawn where another text is.
    const text = (words, x, y, colour, font, share = 0.5) => {
      context.font = `${font} 11px ${styleValue('--font')}`;
      context.fillStyle = this.colour(colour);
      const size = context.measureText(words).width;
      const from = Math.min(Math.max(x - size * share, left), left + width - size);
      if (taken.some((one) => one.y === y && from < one.to + 12 && from + size + 12 > one.from)) return;
      taken.push({y, from, to: from + size});
      context.fillText(words, from, y);
    };
    for (const {at, jump} of this.leaps()) {
      text(`clock ${jump < 0 ? kMinus : '+'}${duration(Math.abs(jump))}`, this.x(at), 10, '--error', '600');
    }
    const days = ticks.filter(({midnight}) => midnight);
    if (!days.length || this.x(days[0].at) > left + 110) text(this.clock.day(this.view.from), left, 10, '--text', '600');
    for (const {at} of days) text(this.clock.day(at), this.x(at), 10, '--text', '600', 0);
    for (const {at, midnight} of step < 86400 ? ticks : []) {
      text(this.clock.time(at, step < 60), this.x(at), 25, '--dim', midnight ? '600' : '400');
    }
  }

  // The times at which the clock was set by more than a minute.
  leaps() {
    return this.data.clock.filter(({at, jump}) => Math.abs(jump) >= 60 && at >= this.view.from && at <= this.view.to);
  }

  paintGrid(context) {
    context.fillStyle = this.colour('--grid');
    const {ticks} = this.clock.ticks(this.view.from, this.view.to, this.perPixel * 80);
    for (const {at} of ticks) context.fillRect(Math.round(this.x(at)), 0, 1, this.height);
    context.fillStyle = this.colour('--sleep-shade');
    const {left, width} = this.plot;
    shade(context, this.data.lanes.asleep, (at) => this.x(at), 0, this.height, left, left + width);
    context.fillStyle = this.colour('--error');
    for (const {at} of this.leaps()) {
      for (let y = 0; y < this.height; y += 6) context.fillRect(Math.round(this.x(at)), y, 1, 3);
    }
  }

  paintLabel(context, row) {
    if (row.heading) {
      context.font = `600 10px ${styleValue('--font')}`;
      context.fillStyle = this.colour('--dim');
      context.letterSpacing = '0.06em';
      context.fillText(row.heading.toUpperCase(), this.plot.narrow ? 6 : 12, row.top - 8);
      const from = Math.max(this.plot.left, 14 + context.measureText(row.heading.toUpperCase()).width);
      context.letterSpacing = '0px';
      context.fillStyle = this.colour('--line');
      context.fillRect(from, row.top - 8, this.plot.left + this.plot.width - from, 1);
    }
    context.font = `${this.plot.narrow ? 10 : 12}px ${styleValue('--font')}`;
    context.fillStyle = this.colour('--text');
    const [x, y] = this.plot.narrow ? [6, row.top + 9] : [12, row.top + row.height / 2];
    const room = this.plot.narrow ? this.plot.width : this.plot.left - 20;
    // The end of an application's id is the most informative.
    const fits = context.measureText(row.label).width <= room;
    context.fillText(this.fit(context, fits ? row.label : row.label.split('.').at(-1), room), x, y);
  }

  // As much of a text as fits.
  fit(context, text, room) {
    if (context.measureText(text).width <= room) return text;
    let length = Math.min(text.length, Math.ceil(room / 4));
    while (length > 0 && context.measureText(`${text.slice(0, length)}\u2026`).width > room) --length;
    return length > 1 ? `${text.slice(0, length)}\u2026` : '';
  }

  // Top and height of what is drawn in a row.
  band(row) {
    return this.plot.narrow ? [row.top + 16, row.height - 19] : [row.top + 4, row.height - 8];
  }

  paintSpans(context, row) {
    const [rowTop, rowHeight] = this.band(row);
    const height = (rowHeight - row.levels + 1) / row.levels;
    const {from, to} = this.view;
    const drawn = [];  // the last pixel drawn, by level and whether it is the process'
    context.font = `11px ${styleValue('--font')}`;
    for (const span of row.between(from, to)) {
      const left = Math.max(this.plot.left - 2, this.x(span.begin));
      const right = Math.min(this.plot.left + this.plot.width + 2, this.x(span.end));
      const own = this.isOwn(row, span);
      const width = Math.max(1, right - left - (right - left > 4 ? 1 : 0));
      const level = Number(own) + 2 * (span.level ?? 0);
      if (right < (drawn[level] ?? -1) + 0.5 && width <= 1) continue;
      drawn[level] = left + width;
      const top = rowTop + (span.level ?? 0) * (height + 1);
      const faint = isFaint(row, span);
      context.globalAlpha = own ? faint ? 0.4 : 1 : 0.15;
      context.fillStyle = this.colour(row.lane.colour);
      context.fillRect(left, top, width, height);
      const pattern = span.count > 1 ? 'merged' : row.lane.pattern;
      if (pattern && width > 2) {
        context.fillStyle = this.pattern(context, pattern, row.lane.colour);
        context.fillRect(left, top, width, height);
      }
      if (width > 8) this.paintEnds(context, span, left, left + width, top, height);
      const words = width > 26 && height > 9 ? this.fit(context, shortText(row, span), width - 12) : '';
      if (!words) continue;
      context.fillStyle = this.colour(row.lane.colour);
      if (pattern && !faint) context.fillRect(left + 4, top + 1, context.measureText(words).width + 4, height - 2);
      if (own) context.globalAlpha = 1;
      context.fillStyle = faint ? this.colour('--text') : this.inkOn(row.lane.colour);
      context.fillText(words, left + 6, top + height / 2 + 0.5);
    }
    context.globalAlpha = 1;
  }

  // An end that is not in the log is hollow.
  paintEnds(context, span, left, right, top, height) {
    context.fillStyle = this.colour('--card');
    if (!span.beginKnown) context.fillRect(left + 1.5, top + 1.5, 2, height - 3);
    if (!span.endKnown) context.fillRect(right - 3.5, top + 1.5, 2, height - 3);
  }

  isOwn(row, item) {
    if (row.lane.kind === 'marks' && row.lane.lane !== 'wakes') return !this.view.words || hasWords(item, this.view.words);
    if (row.process !== undefined) return !this.view.process || this.view.process === row.process;
    const ofProcess = ['assertion', 'application', 'wakes'].includes(row.lane.lane);
    return !ofProcess || !this.view.process || this.processes.owns(this.view.process, item);
  }

  paintMarks(context, row) {
    const [top, height] = this.band(row);
    const middle = top + height / 2;
    const marks = row.between(this.view.from - 4 * this.perPixel, this.view.to + 4 * this.perPixel);
    const size = 4.5;
    let drawn = -Infinity;
    context.font = `11px ${styleValue('--font')}`;
    marks.forEach((mark, i) => {
      const [begin, end] = [this.x(mark.begin), this.x(mark.end)];
      const x = (begin + end) / 2;
      const own = this.isOwn(row, mark);
      context.globalAlpha = own ? 1 : 0.18;
      context.fillStyle = this.colour(row.lane.colour);
      if (x < drawn + 1) return;
      const next = i + 1 < marks.length ? this.x(marks[i + 1].begin) : Infinity;
      // Marks that are close together are strokes.
      const dense = row.lane.lane === 'events' || Math.min(x - drawn, next - x) < size;
      drawn = x;
      if (end - begin > 3) context.fillRect(begin, middle - 1.5, end - begin, 3);
      if (dense) context.fillRect(Math.round(x), top + 2, 1, height - 4);
      else this.paintShape(context, row, mark, x, middle, size);
      // The label, if the next mark leaves room.
      const room = Math.min(next - size, this.plot.left + this.plot.width) - x - size - 6;
      if (room < 20) return;
      context.fillStyle = this.colour('--text');
      context.fillText(this.fit(context, shortText(row, mark), room), x + size + 3, middle + 0.5);
    });
    context.globalAlpha = 1;
  }

  paintShape(context, row, mark, x, y, size) {
    const kind = row.lane.lane === 'wakes' ? kindOfWake(mark) : row.lane.lane;
    context.beginPath();
    if (kind === 'modem' || kind === 'several') context.arc(x, y, size, 0, 7);
    else if (kind === 'other') context.rect(x - size + 0.5, y - size + 0.5, 2 * size - 1, 2 * size - 1);
    else {
      const corners = {
        clock: [[0, -1.2], [1.2, 0], [0, 1.2], [-1.2, 0]],
        unknown: [[0, -1.1], [1.1, 0.9], [-1.1, 0.9]],
        errors: [[-1, -0.6], [-0.6, -1], [0, -0.4], [0.6, -1], [1, -0.6], [0.4, 0], [1, 0.6], [0.6, 1],
                 [0, 0.4], [-0.6, 1], [-1, 0.6], [-0.4, 0]],
      }[kind];
      corners.forEach(([dx, dy]) => context.lineTo(x + dx * size, y + dy * size));
      context.closePath();
    }
    context.fill();
  }

  // Amounts between samples. Traffic is drawn by its root, so that a few bytes are visible beside
  // megabytes.
  paintBars(context, row) {
    const [top, height] = this.band(row);
    let drawn = -1, highest = 0;
    for (const interval of row.between(this.view.from, this.view.to)) {
      const left = Math.max(this.plot.left - 1, this.x(interval.begin));
      const right = Math.min(this.plot.left + this.plot.width + 1, this.x(interval.end));
      const share = this.shareOf(row, interval);
      const high = share > 0 ? Math.max(1, Math.min(1, share) * height) : 0;
      if (right < drawn + 0.5 && high <= highest) continue;
      if (left > drawn) highest = 0;
      context.globalAlpha = this.isOwn(row, interval) ? 1 : 0.15;
      context.fillStyle = this.colour(row.lane.colour);
      context.fillRect(left, top + height - high, Math.max(1.5, right - left - (right - left > 3 ? 1 : 0)), high);
      drawn = Math.max(drawn, right);
      highest = Math.max(highest, high);
    }
    context.globalAlpha = 1;
    context.fillStyle = this.colour('--line');
    context.fillRect(this.plot.left, top + height - 0.5, this.plot.width, 1);
  }

  shareOf(row, interval) {
    if (row.lane.lane === 'traffic') return Math.sqrt((interval.received + interval.sent) / this.busiest.traffic);
    if (row.lane.lane === 'modem') return this.modemAwake(interval) / Math.max(1, interval.amount);
    return (row.process === undefined ? this.workOf(interval) : interval.amount) / Math.max(1, interval.end - interval.begin);
  }

  workOf(interval) {
    const {process} = this.view;
    if (!process) return interval.amount;
    return interval.uses.reduce((sum, {name, amount: seconds}) => sum + (name === process ? seconds : 0), 0);
  }

  // Milliseconds.
  modemAwake(interval) {
    return interval.uses.reduce((sum, {name, amount: time}) => sum + (/sleep|off/i.test(name) ? 0 : time), 0);
  }

  // Black or white, whichever is read better on a colour.
  inkOn(name) {
    const [red, green, blue] = this.colour(name).match(/[0-9a-f]{2}/gi).map((part) => parseInt(part, 16) / 255);
    return 0.3 * red + 0.59 * green + 0.11 * blue > 0.4 ? '#111' : '#fff';
  }

  pattern(context, name, colour) {
    const key = name + colour;
    if (!this.patterns.has(key)) this.patterns.set(key, this.makePattern(context, name, this.inkOn(colour)));
    return this.patterns.get(key);
  }

  makePattern(context, name, ink) {
    const tile = document.createElement('canvas');
    tile.width = tile.height = 6;
    const drawing = tile.getContext('2d');
    drawing.globalAlpha = name === 'merged' ? 0.45 : 0.22;
    drawing.strokeStyle = drawing.fillStyle = ink;
    const lines = {
      slanted: [[-1, 7, 7, -1], [-4, 4, 4, -4], [2, 10, 10, 2]],
      upright: [[1.5, 0, 1.5, 6]],
      merged: [[1.5, 0, 1.5, 6], [4.5, 0, 4.5, 6]],
      crossed: [[0, 0, 6, 6], [6, 0, 0, 6]],
      dots: [],
    }[name];
    for (const [x, y, toX, toY] of lines) {
      drawing.beginPath();
      drawing.moveTo(x, y);
      drawing.lineTo(toX, toY);
      drawing.stroke();
    }
    if (name === 'dots') drawing.fillRect(2, 2, 2, 2);
    return context.createPattern(tile, 'repeat');
  }
}
