// The log's own lines. They are in the page in deflated chunks, which are opened on demand.

class Lines {
  constructor() {
    this.logs = [];
    this.opened = new Map();  // the chunks that were read last
    this.turn = Promise.resolve();
    this.section = document.getElementById('lines-section');
    this.list = document.getElementById('lines');
    document.getElementById('lines-earlier').addEventListener('click', () => this.inTurn(() => this.extend(-1)));
    document.getElementById('lines-later').addEventListener('click', () => this.inTurn(() => this.extend(1)));
    document.getElementById('lines-close').addEventListener('click', () => this.close());
    addEventListener('keydown', ({key}) => { if (key === 'Escape' && !this.section.hidden) this.close(); });
  }

  // Of several logs, one's lines are shown at a time.
  addLog(summary, stack) {
    const chunks = [];
    for (let i = 0; i < summary.lines.length; i += 2) {
      chunks.push({first: summary.lines[i], at: summary.lines[i + 1]});
    }
    this.logs.push({chunks, begin: chunks[0]?.first ?? 0, end: summary.end, stack});
  }

  choose(log) {
    this.log = log;
    Object.assign(this, this.logs[log]);
  }

  close() {
    this.section.hidden = true;
    this.stack.focus({preventScroll: true});
  }

  // Unpacking takes time. Later requests wait, so that the last one determines what is shown.
  inTurn(action) {
    this.turn = this.turn.then(action).catch((error) => {
      this.list.replaceChildren(element('li', 'notice', error.message));
    }).then(() => this.showEnds());
  }

  async open(index) {
    const name = `lines-${this.log}-${index}`;
    if (!this.opened.has(name)) this.opened.set(name, this.unpack(name, this.chunks[index]));
    const kept = 6;
    if (this.opened.size > kept) this.opened.delete(this.opened.keys().next().value);
    return this.opened.get(name);
  }

  async unpack(name, {first, at}) {
    if (typeof DecompressionStream === 'undefined') {
      throw new Error('This browser cannot unpack the log\u2019s lines (it has no DecompressionStream); any of 2023 or later can.');
    }
    const text = document.getElementById(name).textContent;
    const packed = Uint8Array.from(atob(text), (character) => character.charCodeAt(0));
    const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream('deflate-raw'));
    const unpacked = await new Response(stream).text();
    let now = at;
    return unpacked.split('\n').slice(0, -1).map((piece, i) => {
      const tab = piece.indexOf('\t');
      now += Number(piece.slice(0, tab));
      return {position: first + i, at: now, text: piece.slice(tab + 1).replaceAll('\r', '\n')};
    });
  }

  // Nothing if the position is not in the part of the log that the page shows.
  async piece(position) {
    const index = lastBefore(this.chunks, position, 'first');
    const chunk = index < 0 ? [] : await this.open(index);
    return chunk[position - this.chunks[index]?.first];
  }

  // The last piece that is not later than the moment.
  async positionAt(at) {
    const index = Math.max(0, lastBefore(this.chunks, at, 'at'));
    const chunk = await this.open(index);
    let found = chunk[0];
    for (const piece of chunk) {
      if (piece.at > at) break;
      if (piece.text) found = piece;
    }
    return found.position;
  }

  // Shows the lines of a log around a piece or, if none is given, around a moment.
  show(log, position, at) {
    if (!this.logs[log].chunks.length) return;
    this.section.hidden = false;
    this.inTurn(async () => {
      this.choose(log);
      const known = position !== null && await this.piece(position);
      this.marked = known ? position : await this.positionAt(at);
      this.from = Math.max(this.begin, this.marked - 12);
      this.to = Math.min(this.end, this.marked + 25);
      this.list.replaceChildren(...await this.range(this.from, this.to));
      const mark = this.list.querySelector('.marked');
      this.list.scrollTop = mark.offsetTop - this.list.offsetTop - this.list.clientHeight / 3;
    });
  }

  async extend(direction) {
    const more = 60;
    if (direction < 0) {
      const from = Math.max(this.begin, this.from - more);
      const height = this.list.scrollHeight;
      this.list.prepend(...await this.range(from, this.from));
      this.list.scrollTop += this.list.scrollHeight - height;
      this.from = from;
    } else {
      const to = Math.min(this.end, this.to + more);
      this.list.append(...await this.range(this.to, to));
      this.to = to;
    }
  }

  showEnds() {
    document.getElementById('lines-earlier').hidden = !(this.from > this.begin);
    document.getElementById('lines-later').hidden = !(this.to < this.end);
  }

  async range(from, to) {
    const items = [];
    for (let position = from; position < to; ++position) {
      const piece = await this.piece(position);
      if (piece?.text) items.push(this.item(piece));
    }
    return items;
  }

  item({position, text}) {
    const found = /^(\S+ \S+) \[([^\]]+)\]([^]*)$/.exec(text);
    const item = found ? element('li', '', element('span', 'dim', `${found[1]} `), element('span', 'category', `[${found[2]}]`), found[3])
                       : element('li', 'damaged', text);
    if (position === this.marked) {
      item.classList.add('marked');
      item.setAttribute('aria-current', 'true');
    }
    return item;
  }
}
