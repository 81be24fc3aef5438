// Puts the page together.

function makeThemeButton(views) {
  const themes = ['system', 'light', 'dark'];
  const button = document.getElementById('theme');
  const system = matchMedia('(prefers-color-scheme: dark)');
  let chosen = 0;
  const show = (paper = false) => {
    const isDark = !paper && (chosen === 0 ? system.matches : themes[chosen] === 'dark');
    document.documentElement.dataset.theme = isDark ? 'dark' : 'light';
    button.textContent = `Theme: ${themes[chosen]}`;
    views.forEach((view) => view.changed('look'));
  };
  button.addEventListener('click', () => {
    chosen = (chosen + 1) % themes.length;
    show();
  });
  system.addEventListener('change', () => show());
  show();
  // Paper is white, and narrower than most windows.
  const print = (begins) => {
    for (const stack of document.querySelectorAll('.stack')) stack.style.width = begins ? '640px' : '';
    // Chromium prints stroke by stroke, and PDF readers show cleared areas as painted white. The
    // new width has cleared the curves already.
    for (const canvas of document.querySelectorAll('.chart canvas')) {
      canvas.getContext('2d').clearRect = begins ? () => {} : CanvasRenderingContext2D.prototype.clearRect;
    }
    show(begins);
    views.forEach((view) => view.paint());
  };
  addEventListener('beforeprint', () => print(true));
  addEventListener('afterprint', () => print(false));
}

function makeToolbar(place, view, clock, processes) {
  const on = (name, action) => place.querySelector(`.${name}`).addEventListener('click', action);
  on('zoom-in', () => view.zoom(0.5));
  on('zoom-out', () => view.zoom(2));
  on('earlier', () => view.move(-0.5 * view.width));
  on('later', () => view.move(0.5 * view.width));
  on('whole', () => view.show(view.begin, view.end));
  const select = place.querySelector('.process');
  for (const name of processes.names) {
    const option = element('option', '', name);
    option.value = name;
    select.append(option);
  }
  select.addEventListener('change', () => view.choose(select.value));
  const words = place.querySelector('.words');
  words.addEventListener('input', () => view.find(words.value));
  const shown = place.querySelector('.shown');
  view.on('range look', () => {
    shown.textContent = rangeText(view, clock);
  });
}

function rangeText(view, clock) {
  return `${clock.day(view.from)} ${clock.time(view.from)} \u2013 ${clock.day(view.to)} ${clock.time(view.to)} (${duration(view.width)})`;
}

// The sentences, the account and the tables of what is in view.
function makeInView(place, summary, view, clock, processes, figures, onPlace) {
  const find = (name) => place.querySelector(`.${name}`);
  const tables = [new Tables(find('tables'), summary.tables, view, processes, figures, onPlace)];
  if (summary.account) {
    const columns = [['Part', 'text'], ['How', 'text'], ['Used', 'percent'], ['Energy', 'wattHours'], ['Power', 'watts'], ['Share', 'percent']];
    const account = {title: 'What used the battery', inView: 'account', left: 0, rows: [], columns: columns.map(([name, kind]) => ({name, kind}))};
    tables.push(new Tables(find('account'), [account], view, processes, figures, onPlace));
  }
  let shown = '', waiting = 0;
  const show = () => {
    const wanted = `${view.from} ${view.to} ${view.words}`;
    if (wanted === shown) return;
    shown = wanted;
    const {isWhole} = view;
    const facts = isWhole ? summary.facts : figures.facts(...figures.range(view));
    find('view-heading').textContent = isWhole ? 'Whole log' : `In view: ${rangeText(view, clock)}`;
    find('facts').replaceChildren(...facts.map((fact) => element('li', '', fact)));
    tables.forEach((one) => one.calculateAll());
  };
  show();
  // Once the view is still, so that it moves smoothly in a long log.
  view.on('range words', () => {
    clearTimeout(waiting);
    waiting = setTimeout(show, 120);
  });
}

// A log's part of the page.
function makeLog(log, isOnly, lines) {
  const summary = readSummary(log);
  const data = readTimeline(log);
  const clock = new Clock(data.clock);
  const view = new View(data.begin, data.end);
  // The elements of a further log have ids of their own; style and program know them by class.
  const place = document.getElementById('log').content.cloneNode(true).firstElementChild;
  const suffix = log ? `-${log}` : '';
  for (const one of place.querySelectorAll('[id]')) {
    one.classList.add(one.id);
    one.id += suffix;
  }
  for (const name of ['aria-labelledby', 'aria-describedby']) {
    for (const one of place.querySelectorAll(`[${name}]`)) one.setAttribute(name, one.getAttribute(name) + suffix);
  }
  document.getElementById('logs').append(place);
  const find = (name) => place.querySelector(`.${name}`);

  const covered = isOnly ? document.getElementById('covered') : find('log-covered');
  find('log-heading').hidden = isOnly;
  find('name').textContent = summary.title;
  covered.textContent = !data.clock.length ? ''
      : `${clock.date(data.begin)} ${clock.time(data.begin, false)} to ${clock.date(data.lastEntry)} ${clock.time(data.lastEntry, false)}, ${duration(data.lastEntry - data.begin)}`;
  new Verdict(find('log-verdict'), summary, view, clock);

  const processes = new Processes(data);
  const showLines = (position, at) => {
    if (position !== null) view.setPin(at);
    lines.show(log, position, at);
  };
  lines.addLog(summary, find('stack'));
  const lanes = new Lanes(place, data, view, clock, processes);
  lanes.layOut();
  const curves = new Curves(find('curves'), data, view, clock);
  const now = new Now(find('now'), lanes, curves, showLines);
  new Cursor(lanes, now, showLines);
  new Overview(lanes);
  makeInView(place, summary, view, clock, processes, new Figures(data, summary, clock), showLines);
  makeToolbar(place, view, clock, processes);

  if (!data.clock.length) {
    find('timeline-card').hidden = true;
    lines.show(log, null, 0);
  }

  const notes = [];
  if (lanes.absent.length) notes.push(`Not in this log: ${lanes.absent.join(', ')}.`);
  const merged = Object.values(data.merged).reduce((sum, count) => sum + count, 0);
  if (merged) notes.push(`${several(merged, 'short bar is', 'short bars are')} merged with neighbours of the same content; the log\u2019s lines contain all of them.`);
  const widest = Math.max(1, ...Object.values(data.curves).map(({width}) => width));
  if (widest > 1) notes.push(`For every ${duration(widest)}, the curves show the minimum and the maximum.`);
  find('absent').textContent = notes.join(' ');

  new ResizeObserver(() => view.changed('look')).observe(find('stack'));
  view.changed('range');
  view.changed('look');
  view.changed('cursor');
  return view;
}

function start() {
  const page = readElement('page');
  document.title = `${page.title} \u2013 power log`;
  document.getElementById('title').textContent = page.title;
  new Verdict(document.getElementById('verdict'), {verdict: page.verdict, findings: []}, null, null);
  const lines = new Lines();
  const views = [];
  makeThemeButton(views);
  for (let log = 0; log < page.logs; ++log) views.push(makeLog(log, page.logs === 1, lines));
  if (page.differences) {
    const whole = {isWhole: true, process: '', words: '', on: () => {}};
    new Tables(document.getElementById('differences'), [page.differences], whole, null, null, null);
  }
}

start();
