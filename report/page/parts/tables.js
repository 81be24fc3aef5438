// Tables that can be sorted by any column and filtered by the chosen process.

const kMaxCellLength = 200;  // characters; the log's lines show the whole text

class Tables {
  constructor(place, tables, view, processes) {
    Object.assign(this, {view, processes});
    this.tables = tables.filter(({rows}) => rows.length).map((table) => this.make(place, table));
    view.on('process', () => this.tables.forEach((table) => this.fill(table)));
  }

  make(place, content) {
    const table = {...content, sorted: null, all: false};
    const head = element('tr', '');
    content.columns.forEach((column, i) => {
      const button = element('button', '', column.name);
      button.type = 'button';
      button.addEventListener('click', () => this.sort(table, i));
      const cell = element('th', this.isNumber(column) ? 'number' : '', button);
      cell.scope = 'col';
      cell.setAttribute('aria-sort', 'none');
      head.append(cell);
    });
    table.head = head;
    table.body = element('tbody', '');
    table.more = element('button', 'quiet', '');
    table.more.type = 'button';
    table.more.addEventListener('click', () => {
      table.all = !table.all;
      this.fill(table);
    });
    table.note = element('p', 'note', '');
    // Magnitudes are shown for the first column of numbers.
    table.measured = content.columns.findIndex((column) => this.isNumber(column));
    const caption = element('caption', '', content.title);
    const scroll = element('div', 'scroll', element('table', '', caption, element('thead', '', head), table.body));
    scroll.tabIndex = 0;
    scroll.setAttribute('role', 'region');
    scroll.setAttribute('aria-label', content.title);
    table.section = element('section', 'card table', scroll, table.more, table.note);
    place.append(table.section);
    this.fill(table);
    return table;
  }

  isNumber({kind}) {
    return !['text', 'process', 'time'].includes(kind);
  }

  // First from the greatest, or from A. Once more reverses the order.
  sort(table, column) {
    const descends = this.isNumber(table.columns[column]);
    const again = table.sorted?.column === column;
    table.sorted = {column, descends: again ? !table.sorted.descends : descends};
    [...table.head.children].forEach((cell, i) => {
      cell.setAttribute('aria-sort', i !== column ? 'none' : table.sorted.descends ? 'descending' : 'ascending');
    });
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
    const few = 12;
    const rows = this.rowsOf(table);
    const most = table.rows.reduce((greatest, row) => Math.max(greatest, row[table.measured] ?? 0), 0);
    const shown = table.all ? rows : rows.slice(0, few);
    table.body.replaceChildren(...shown.map((row) => element('tr', '', ...row.map((value, i) => {
      const column = table.columns[i];
      const cell = element('td', this.isNumber(column) ? 'number' : '', this.text(column, value));
      if (i === table.measured && most > 0) {
        cell.classList.add('measured');
        cell.style.setProperty('--share', `${100 * value / most}%`);
      }
      return cell;
    }))));
    if (!rows.length) {
      const cell = element('td', 'dim', 'nothing of this process');
      cell.colSpan = table.columns.length;
      table.body.append(element('tr', '', cell));
    }
    table.more.hidden = rows.length <= few;
    table.more.textContent = table.all ? 'Show fewer' : `Show all ${rows.length}`;
    table.note.hidden = !table.left;
    table.note.textContent = `${several(table.left, 'row more is', 'rows more are')} left out of this page.`;
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
      case 'count': return amount(value, 0);
      case 'time': return this.time(value);
      default: return value.length > kMaxCellLength ? `${value.slice(0, kMaxCellLength)}\u2026` : value;
    }
  }
}
