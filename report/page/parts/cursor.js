// The cursor, and how pointers and keys change it and the visible range.

class Cursor {
  constructor(lanes, now, onLines) {
    Object.assign(this, {lanes, now, onLines, view: lanes.view, stack: lanes.stack});
    this.line = lanes.place.querySelector('.cursor');
    this.pinLine = lanes.place.querySelector('.pin');
    this.selection = lanes.place.querySelector('.selection');
    this.announcement = document.getElementById('announcement');
    this.pointers = new Map();
    this.hover = null;  // where a mouse without a button pressed was last
    this.listen();
    // Seconds of the log: browsers do not distinguish neighbouring seconds since 1970 here.
    this.stack.setAttribute('aria-valuemin', 0);
    this.stack.setAttribute('aria-valuemax', this.view.end - this.view.begin);
    this.view.on('cursor range look', () => this.paint());
  }

  listen() {
    const on = (type, handler, options) => this.stack.addEventListener(type, handler, options);
    on('pointerdown', (event) => this.down(event));
    on('pointermove', (event) => this.moved(event));
    on('pointerup', (event) => this.up(event));
    on('pointercancel', (event) => this.forget(event));
    on('pointerleave', () => {
      this.hover = null;
      if (!this.pointers.size) this.view.look(this.view.pin);
    });
    on('dblclick', () => this.view.show(this.view.begin, this.view.end));
    on('wheel', (event) => this.wheel(event), {passive: false});
    on('keydown', (event) => this.key(event));
  }

  paint() {
    const place = (line, at) => {
      const x = at === null ? -1 : this.lanes.x(at);
      const {left, width} = this.lanes.plot;
      line.hidden = x < left - 1 || x > left + width + 1;
      line.style.transform = `translateX(${Math.round(x)}px)`;
    };
    place(this.line, this.view.cursor);
    place(this.pinLine, this.view.pin);
    this.stack.setAttribute('aria-valuenow', (this.view.cursor ?? this.view.begin) - this.view.begin);
    this.stack.setAttribute('aria-valuetext', this.view.cursor === null ? 'no moment chosen' : `${this.lanes.clock.time(this.view.cursor)}, ${this.lanes.clock.day(this.view.cursor)}`);
  }

  xOf(event) {
    return event.clientX - this.stack.getBoundingClientRect().left;
  }

  down(event) {
    if (event.button !== 0) return;
    const x = this.xOf(event);
    this.pointers.set(event.pointerId, {x, begin: x});
    this.stack.setPointerCapture(event.pointerId);
    const moves = event.shiftKey || event.pointerType !== 'mouse';
    this.drag = {moved: false, moves, from: this.view.from, to: this.view.to, at: this.lanes.timeAt(x)};
    if (this.pointers.size === 2) this.beginPinch();
  }

  moved(event) {
    const x = this.xOf(event);
    const pointer = this.pointers.get(event.pointerId);
    if (!pointer) {
      // Where the page changes below a pointer that rests, it is reported again.
      const {screenX, screenY} = event;
      const rests = this.hover?.screenX === screenX && this.hover.screenY === screenY;
      this.hover = {screenX, screenY};
      if (!rests) this.view.look(this.lanes.timeAt(x));
      return;
    }
    pointer.x = x;
    if (this.pointers.size === 2) {
      this.pinch();
      return;
    }
    if (!this.drag || Math.abs(x - pointer.begin) < 6 && !this.drag.moved) return;
    this.drag.moved = true;
    const {from, to, moves} = this.drag;
    if (moves) {
      const by = (pointer.begin - x) / this.lanes.plot.width * (to - from);
      this.view.show(from + by, to + by);
    } else {
      this.view.look(this.lanes.timeAt(x));
      this.selection.hidden = false;
      this.selection.style.left = `${Math.min(x, pointer.begin)}px`;
      this.selection.style.width = `${Math.abs(x - pointer.begin)}px`;
    }
  }

  up(event) {
    const pointer = this.pointers.get(event.pointerId);
    const drag = this.drag;
    this.forget(event);
    if (!pointer || !drag) return;
    if (!drag.moved) {
      this.choose(drag.at);
    } else if (!drag.moves) {
      const at = this.lanes.timeAt(pointer.x);
      this.view.show(Math.min(at, drag.at), Math.max(at, drag.at));
    }
  }

  forget(event) {
    this.pointers.delete(event.pointerId);
    this.selection.hidden = true;
    this.drag = null;
  }

  // Each of two fingers holds a moment of the log.
  beginPinch() {
    this.held = [...this.pointers.values()].map(({x}) => this.lanes.timeAt(x));
    this.drag = null;
  }

  pinch() {
    const [one, other] = [...this.pointers.values()].map(({x}) => (x - this.lanes.plot.left) / this.lanes.plot.width);
    if (Math.abs(one - other) < 0.02) return;
    const width = Math.abs((this.held[0] - this.held[1]) / (one - other));
    const from = (this.held[0] + this.held[1]) / 2 - (one + other) / 2 * width;
    this.view.show(from, from + width);
  }

  wheel(event) {
    if (event.ctrlKey || event.metaKey) {
      this.view.zoom(Math.exp(Math.max(-50, Math.min(50, event.deltaY)) / 100), this.lanes.timeAt(this.xOf(event)));
    } else if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
      this.view.move((event.deltaX || event.deltaY) * this.lanes.perPixel);
    } else {
      return;
    }
    event.preventDefault();
  }

  choose(at) {
    at = Math.min(Math.max(at, this.view.begin), this.view.end);
    this.view.setPin(at);
    this.onLines(null, Math.round(at));
  }

  key(event) {
    if (event.altKey || event.ctrlKey || event.metaKey) return;
    const {view} = this;
    const at = view.cursor ?? view.from;
    const step = Math.max(1, view.width / (event.shiftKey ? 10 : 100));
    const actions = {
      ArrowLeft: () => view.go(at - step),
      ArrowRight: () => view.go(at + step),
      Home: () => view.go(view.begin),
      End: () => view.go(view.end),
      '+': () => view.zoom(0.5),
      '=': () => view.zoom(0.5),
      '-': () => view.zoom(2),
      '0': () => view.show(view.begin, view.end),
      PageUp: () => view.move(-0.8 * view.width),
      PageDown: () => view.move(0.8 * view.width),
      n: () => this.toWake(at, 1),
      p: () => this.toWake(at, -1),
      Enter: () => this.choose(at),
      ' ': () => this.choose(at),
      Escape: () => view.setPin(null),
    };
    const action = actions[event.key.length === 1 ? event.key.toLowerCase() : event.key];
    if (!action) return;
    action();
    event.preventDefault();
    // Once the keys are still, the moment is described in words.
    clearTimeout(this.announcing);
    this.announcing = setTimeout(() => { this.announcement.textContent = this.now.sentence(); }, 400);
  }

  toWake(at, direction) {
    const wakes = this.lanes.data.lanes.wakes;
    const wake = direction > 0 ? wakes[lastBefore(wakes, at) + 1] : wakes[lastBefore(wakes, at - 1)];
    if (wake) this.view.go(wake.begin);
  }
}

// A small view of the whole log, in which the visible range is marked.
class Overview {
  constructor(lanes) {
    Object.assign(this, {lanes, view: lanes.view, canvas: lanes.place.querySelector('.overview')});
    this.view.on('range look', () => this.paint());
    const drag = (event) => {
      const {left, width} = lanes.plot;
      const share = (event.clientX - this.canvas.getBoundingClientRect().left - left) / width;
      const middle = this.view.begin + share * (this.view.end - this.view.begin);
      this.view.show(middle - this.view.width / 2, middle + this.view.width / 2);
    };
    this.canvas.addEventListener('pointerdown', (event) => {
      this.canvas.setPointerCapture(event.pointerId);
      drag(event);
    });
    this.canvas.addEventListener('pointermove', (event) => { if (event.buttons) drag(event); });
  }

  paint() {
    const height = 34;
    const {lanes} = this;
    const {left, width} = lanes.plot;
    const context = lanes.context(this.canvas, lanes.width, height);
    const x = (at) => left + (at - this.view.begin) / (this.view.end - this.view.begin) * width;
    context.fillStyle = styleValue('--sleep-shade');
    shade(context, lanes.data.lanes.asleep, x, 0, height, left, left + width);
    const points = lanes.data.curves.level?.points ?? [];
    context.beginPath();
    points.forEach(([at, value]) => context.lineTo(x(at), 2 + (100 - value) / 100 * (height - 4)));
    if (points.length) context.lineTo(x(this.view.end), 2 + (100 - points.at(-1)[1]) / 100 * (height - 4));
    context.strokeStyle = styleValue('--level');
    context.lineWidth = 1.5;
    context.stroke();
    context.globalAlpha = 0.72;
    context.fillStyle = styleValue('--card');
    const [from, to] = [x(this.view.from), x(this.view.to)];
    context.fillRect(left, 0, from - left, height);
    context.fillRect(to, 0, left + width - to, height);
    context.globalAlpha = 1;
    context.strokeStyle = styleValue('--accent');
    context.strokeRect(Math.max(from, left + 0.75), 0.75, Math.max(3, Math.min(to, left + width - 0.75) - from), height - 1.5);
    if (left > 100) {
      context.fillStyle = styleValue('--dim');
      context.font = `11px ${styleValue('--font')}`;
      context.fillText('Whole log', 12, height / 2);
    }
  }
}
