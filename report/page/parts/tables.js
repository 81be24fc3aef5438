// Tables that can be sorted by any column and filtered by the chosen process. They show what is in
// view: those with a calculation in figures.js are calculated again when the view has come to rest.

const kFewRows = 12;  // that a table shows at first
const kFewColumns = 7;  // that have room beside another table
const kMaxCellLength = 200;  // characters; the log's lines show the whole text

// What words mean, below the tables that use them.
const kNotes = [
  {column: 'Deep', note: 'Deep: the share of the sleep in the hardware\u2019s deepest state, which uses least.'},
  {column: 'How', word: '\u00b1', note: '\u00b1: percent of the battery by which a part may be off; uncertain: by more than a tenth of it.'},
];

class Tables {
  constructor(place, tables, view, processes, figures, onPlace) {
    Object.assign(this, {place, view, processes, figures, onPlace});
    this.tables = tables.map((table) => this.make(table));
    view.on('process', () => this.tables.forEach((table) => this.fill(table)));
  }

  // Tables with neither rows nor a calculation are not drawn.
  make(content) {
    const table = {...content, whole: content.rows, sorted: null, all: false, estimated: false, footer: []};
    table.head = element('tr', '');
    table.body = element('tbody', '');
    table.foot = element('tfoot', '');
    table.more = element('button', 'quiet', '');
    table.more.type = 'button';
    table.more.addEventListener('click', () => {
      table.all = !table.all;
      this.fill(table);
    });
    table.note = element('p', 'note', '');
    const caption = element('caption', '', content.title);
    const scroll = element('div', 'scroll', element('table', '', caption, element('thead', '', table.head), table.body, table.foot));
    scroll.tabIndex = 0;
    scroll.setAttribute('role', 'region');
    scroll.setAttribute('aria-label', content.title);
    table.section = element('section', content.columns.length > kFewColumns ? 'card table wide' : 'card table', scroll, table.more, table.note);
    this.place.append(table.section);
    this.calculate(table);
    return table;
  }

  // Only the whole log has rows that were made with the page: they are exact.
  calculate(table) {
    const {isWhole, words} = this.view;
    const isMade = table.whole.length > 0 && (isWhole || !table.inView);
    table.rows = table.whole;
    table.estimated = false;
    if (!isMade && table.inView) {
      const {rows, estimated, footer = []} = this.figures.rows(table.inView, ...this.figures.range(this.view), words);
      const inOrder = (row) => Object.assign(table.columns.map(({name}) => row[name] ?? null), {places: row.places, className: row.className});
      Object.assign(table, {rows: rows.map(inOrder), footer: footer.map(inOrder), estimated});
    }
    table.stays = !isWhole && !table.inView;
    if (isWhole && !words) table.section.hidden = table.rows.length === 0;
    this.fill(table);
  }

  calculateAll() {
    this.tables.forEach((table) => this.calculate(table));
  }

  // Columns that are empty throughout are left out.
  showHead(table) {
    const has = (i) => [...table.rows, ...table.footer].some((row) => row[i] !== null && row[i] !== undefined);
    table.shown = table.columns.map((column, i) => i).filter((i) => i === 0 || !table.rows.length || has(i));
    const buttons = table.shown.map((i) => {
      const column = table.columns[i];
      const button = element('button', '', column.name);
      button.type = 'button';
      button.addEventListener('click', () => this.sort(table, i));
      const cell = element('th', this.isNumber(column) ? 'number' : '', button);
      cell.scope = 'col';
      cell.setAttribute('aria-sort', table.sorted?.column !== i ? 'none' : table.sorted.descends ? 'descending' : 'ascending');
      return cell;
    });
    const names = [...table.head.children].map((cell) => cell.textContent).join();
    if (names !== buttons.map((cell) => cell.textContent).join()) {
      table.head.replaceChildren(...buttons);
    } else {
      buttons.forEach((cell, i) => table.head.children[i].setAttribute('aria-sort', cell.getAttribute('aria-sort')));
    }
  }

  isNumber({kind}) {
    return !['text', 'process', 'time'].includes(kind);
  }

  // First from the greatest, or from A. Once more reverses the order.
  sort(table, column) {
    const descends = this.isNumber(table.columns[column]);
    const again = table.sorted?.column === column;
    table.sorted = {column, descends: again ? !table.sorted.descends : descends};
    this.fill(table);
  }

  rowsOf(table) {
    const {process} = this.view;
    const columns = table.columns.flatMap(({kind}, i) => kind === 'process' ? [i] : []);
    const rows = table.rows.filter((row) => !process || !columns.length || columns.some((i) => row[i] !== null && this.processes.owns(process, {who: row[i], pid: 0})));
    if (!table.sorted) return rows;
    const {column, descends} = table.sorted;
    const order = (one, other) => typeof one === 'number' ? one - other : String(one).localeCompare(String(other), 'en', {numeric: true});
    // Unknown values come last in either order.
    return [...rows].sort(({[column]: one}, {[column]: other}) => one === null || other === null
        ? (one === null) - (other === null) : (descends ? -1 : 1) * order(one, other));
  }

  fill(table) {
    const few = kFewRows, most = 500;
    this.showHead(table);
    const rows = this.rowsOf(table);
    // Magnitudes are shown for the first column of numbers.
    const measured = table.shown.find((i) => this.isNumber(table.columns[i]));
    const greatest = table.rows.reduce((found, row) => Math.max(found, row[measured] ?? 0), 0);
    const made = (row) => element('tr', row.className ?? '', ...table.shown.map((i) => this.cell(table, row, i, i === measured ? greatest : 0)));
    table.body.replaceChildren(...rows.slice(0, table.all ? most : few).map(made));
    table.foot.replaceChildren(...table.footer.map((row) => element('tr', '', ...table.shown.map((i) => this.cell(table, row, i)))));
    if (!rows.length) {
      const cell = element('td', 'dim', !table.rows.length ? 'nothing in view' : 'nothing of this process');
      cell.colSpan = table.shown.length;
      table.body.append(element('tr', '', cell));
    }
    table.more.hidden = rows.length <= few;
    table.more.textContent = table.all ? 'Show fewer' : `Show all ${rows.length}`;
    const left = (table.rows === table.whole ? table.left : 0) + (table.all ? Math.max(0, rows.length - most) : 0);
    const notes = kNotes.filter(({column, word}) => table.shown.some((i) => table.columns[i].name === column &&
        table.rows.some((row) => row[i] !== null && row[i] !== undefined && (!word || row[i].includes(word))))).map(({note}) => note);
    if (left > 0) notes.push(`${several(left, 'row more is', 'rows more are')} left out of this page.`);
    if (table.stays) notes.push('Of the whole log.');
    if (table.estimated) notes.push('Approximate: what was merged, or was sampled across the edge of the view, counts in proportion.');
    table.note.textContent = notes.join(' ');
    table.note.hidden = !notes.length;
  }

  cell(table, row, i, greatest = 0) {
    const column = table.columns[i];
    const value = row[i] ?? null;
    const text = this.text(column, value);
    const cell = element('td', this.isNumber(column) ? 'number' : '');
    const jumps = row.places && (i === table.columns.findIndex(({kind, name}) => kind === 'time' || ['Error', 'Event'].includes(name)));
    cell.append(jumps ? this.jump(row, text) : text);
    if (greatest > 0 && value > 0) {
      cell.classList.add('measured');
      cell.style.setProperty('--share', `${100 * value / greatest}%`);
    }
    return cell;
  }

  // Leads to a place in the log; once more, to the next one.
  jump({places}, text) {
    const button = element('button', 'jump', text);
    button.type = 'button';
    button.title = places.length > 1 ? 'Show each of these in the log' : 'Show in the log';
    let next = 0;
    button.addEventListener('click', () => {
      const {begin, first} = places[next];
      next = (next + 1) % places.length;
      this.onPlace(first, begin);
    });
    return button;
  }

  // Local time, as in the log.
  time(seconds) {
    const local = new Date(seconds * 1000);
    return `${local.getUTCDate()} ${kMonths[local.getUTCMonth()]} ${local.toISOString().slice(11, 19)}`;
  }

  text({kind}, value) {
    if (value === null) return '\u2013';
    switch (kind) {
      case 'seconds': return duration(value);
      case 'bytes': return bytes(value);
      case 'percent': return `${value > 0 && value < 0.05 ? '<0.1' : amount(value)}\u00a0%`;
      case 'wattHours': return energy(value, 'Wh');
      case 'watts': return energy(value, 'W');
      case 'count': return amount(value, 0);
      case 'time': return this.time(value);
      default: return value.length > kMaxCellLength ? `${value.slice(0, kMaxCellLength)}\u2026` : value;
    }
  }
}
