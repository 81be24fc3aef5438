// Puts the page together.

function makeThemeButton(view) {
  const themes = ['system', 'light', 'dark'];
  const button = document.getElementById('theme');
  const system = matchMedia('(prefers-color-scheme: dark)');
  let chosen = 0;
  const show = (paper = false) => {
    const isDark = !paper && (chosen === 0 ? system.matches : themes[chosen] === 'dark');
    document.documentElement.dataset.theme = isDark ? 'dark' : 'light';
    button.textContent = `Theme: ${themes[chosen]}`;
    view.changed('look');
  };
  button.addEventListener('click', () => {
    chosen = (chosen + 1) % themes.length;
    show();
  });
  system.addEventListener('change', () => show());
  show();
  // Paper is white, and narrower than most windows.
  const print = (begins) => {
    document.getElementById('stack').style.width = begins ? '640px' : '';
    // Chromium prints stroke by stroke, and PDF readers show cleared areas as painted white. The
    // new width has cleared the curves already.
    for (const canvas of document.querySelectorAll('.chart canvas')) {
      canvas.getContext('2d').clearRect = begins ? () => {} : CanvasRenderingContext2D.prototype.clearRect;
    }
    show(begins);
    view.paint();
  };
  addEventListener('beforeprint', () => print(true));
  addEventListener('afterprint', () => print(false));
}

function makeToolbar(view, clock, processes) {
  const on = (id, action) => document.getElementById(id).addEventListener('click', action);
  on('zoom-in', () => view.zoom(0.5));
  on('zoom-out', () => view.zoom(2));
  on('earlier', () => view.move(-0.5 * view.width));
  on('later', () => view.move(0.5 * view.width));
  on('whole', () => view.show(view.begin, view.end));
  const select = document.getElementById('process');
  for (const name of processes.names) {
    const option = element('option', '', name);
    option.value = name;
    select.append(option);
  }
  select.addEventListener('change', () => view.choose(select.value));
  const shown = document.getElementById('shown');
  view.on('range look', () => {
    shown.textContent = `${clock.day(view.from)} ${clock.time(view.from)} \u2013 ${clock.day(view.to)} ${clock.time(view.to)} (${duration(view.width)})`;
  });
}

function start() {
  const summary = readElement('summary');
  const data = readTimeline();
  const clock = new Clock(data.clock);
  const view = new View(data.begin, data.end);
  document.title = `${summary.title} \u2013 power log`;
  document.getElementById('title').textContent = summary.title;
  document.getElementById('covered').textContent = !data.clock.length ? ''
      : `${clock.date(data.begin)} ${clock.time(data.begin, false)} to ${clock.date(data.lastEntry)} ${clock.time(data.lastEntry, false)}, ${duration(data.lastEntry - data.begin)}`;
  document.getElementById('facts').append(...summary.facts.map((fact) => element('li', '', fact)));

  makeThemeButton(view);
  const processes = new Processes(data);
  const lines = new Lines(summary, clock);
  const showLines = (position, at) => {
    if (position !== null) view.setPin(at);
    lines.show(position, at);
  };
  const lanes = new Lanes(data, view, clock, processes);
  lanes.layOut();
  const curves = new Curves(document.getElementById('curves'), data, view, clock);
  const now = new Now(document.getElementById('now'), lanes, curves, showLines);
  new Cursor(lanes, now, showLines);
  new Overview(lanes);
  new Tables(document.getElementById('tables'), summary.tables, view, processes);
  makeToolbar(view, clock, processes);

  if (!data.clock.length) {
    document.getElementById('timeline-card').hidden = true;
    lines.show(null, 0);
  }

  const notes = [];
  if (lanes.absent.length) notes.push(`Not in this log: ${lanes.absent.join(', ')}.`);
  const merged = Object.values(data.merged).reduce((sum, count) => sum + count, 0);
  if (merged) notes.push(`${several(merged, 'short bar is', 'short bars are')} merged with neighbours of the same content; the log\u2019s lines contain all of them.`);
  const widest = Math.max(1, ...Object.values(data.curves).map(({width}) => width));
  if (widest > 1) notes.push(`For every ${duration(widest)}, the curves show the minimum and the maximum.`);
  document.getElementById('absent').textContent = notes.join(' ');

  new ResizeObserver(() => view.changed('look')).observe(document.getElementById('stack'));
  view.changed('range');
  view.changed('look');
  view.changed('cursor');
}

start();
