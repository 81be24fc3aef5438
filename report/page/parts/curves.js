// The sampled values, each a chart of its own over the same time. dygraphs draws them. It is given
// only numbers, because it writes its labels as markup.

const kCurves = [
  {name: 'level', label: 'Battery', unit: '%', height: 100, colour: '--level', fill: true,
   range: [-7, 107], ticks: [0, 25, 50, 75, 100]},
  {name: 'current', label: 'Current', unit: 'mA', height: 72, colour: '--current', steps: true,
   zero: true, span: 50},
  {name: 'temperature', label: 'Temperature', unit: '\u00b0C', height: 60, colour: '--temperature',
   span: 5},
  {name: 'signal', label: 'Signal', unit: 'dBm', height: 52, colour: '--signal', steps: true,
   most: 0, span: 10},
];

// The style's colours and fonts, read once per theme because reading takes long.
const kStyleValues = new Map();
function styleValue(name) {
  if (!kStyleValues.has(name)) {
    kStyleValues.set(name, getComputedStyle(document.documentElement).getPropertyValue(name).trim());
  }
  return kStyleValues.get(name);
}

// Fills stretches of time. Those less than a pixel apart are filled as one.
function shade(context, spans, x, top, height, least, most) {
  let left = 0, right = -Infinity;
  const fill = () => {
    const [from, to] = [Math.max(least, left), Math.min(most, right)];
    if (to > least && from < most) context.fillRect(from, top, Math.max(0.5, to - from), height);
  };
  for (const {begin, end} of spans) {
    const [from, to] = [x(begin), x(end)];
    if (from > right + 0.5) {
      fill();
      left = from;
      right = to;
    }
    right = Math.max(right, to);
  }
  fill();
}

// Of dygraphs' plugins, axes and grids are used. Its legend would set its own style, which the
// page's policy forbids.
Dygraph.PLUGINS = [Dygraph.Plugins.Axes, Dygraph.Plugins.Grid];

// Round values in the range, as many as are readable in so many pixels.
function roundValues([least, most], height) {
  const rough = (most - least) / (height / 18);
  const power = 10 ** Math.floor(Math.log10(rough));
  const step = [1, 2, 5, 10].map((one) => one * power).find((one) => one >= rough);
  const values = [];
  const margin = (most - least) * 9 / height;  // half the height of a label
  for (let i = Math.ceil((least + margin) / step); i * step <= most - margin; ++i) values.push({v: i * step, label: amount(i * step, 3)});
  return values;
}

class Curves {
  constructor(place, data, view, clock) {
    this.data = data;
    this.view = view;
    this.clock = clock;
    this.charts = [];
    for (const curve of kCurves) {
      const points = data.curves[curve.name]?.points;
      if (points) this.charts.push(this.makeChart(place, curve, points));
    }
    view.on('range', () => this.paint());
    view.on('look', () => this.restyle());
  }

  // Where time is drawn, in pixels of the stack. The lanes use the same place.
  static plot(width) {
    const narrow = width < 600;
    const left = narrow ? 40 : 140;
    return {left, width: Math.max(50, width - left - 10), narrow};
  }

  makeChart(place, curve, points) {
    const frame = document.createElement('div');
    frame.className = 'curve';
    const title = document.createElement('div');
    title.className = 'curve-title';
    const unit = document.createElement('span');
    unit.textContent = ` ${curve.unit}`;
    title.append(curve.label, unit);
    const chart = document.createElement('div');
    chart.className = 'chart';
    chart.style.height = `${curve.height}px`;
    frame.append(title, chart);
    place.append(frame);

    const values = points.map((point) => point[1]);
    const least = values.reduce((one, other) => Math.min(one, other), curve.zero ? 0 : Infinity);
    const most = values.reduce((one, other) => Math.max(one, other), curve.zero ? 0 : -Infinity);
    const margin = Math.max((most - least) * 0.12, (curve.span - (most - least)) / 2);
    const range = curve.range ?? [least - margin, Math.min(most + margin, curve.most ?? Infinity)];
    const ticks = curve.ticks?.map((v) => ({v, label: String(v)})) ?? roundValues(range, curve.height);
    // The last value holds until the end of the log.
    const shown = [...points, [Math.max(this.data.end, points.at(-1)[0]), points.at(-1)[1]]];
    const dygraph = new Dygraph(chart, shown, {
      labels: ['time', curve.label],
      dateWindow: [this.view.from, this.view.to],
      legend: 'never',
      interactionModel: {},
      showLabelsOnHighlight: false,
      highlightCircleSize: 0,
      fillGraph: Boolean(curve.fill),
      fillAlpha: 0.18,
      stepPlot: Boolean(curve.steps),
      strokeWidth: points.length < 2000 ? 1.75 : 1,
      drawPoints: points.length < 120,
      pointSize: 2,
      rightGap: 10,
      underlayCallback: (context, area) => this.shadeSleep(context, area),
      axisLabelFontSize: 11,
      axes: {
        x: {drawAxis: false, ticker: (from, to) => this.ticks(from, to)},
        y: {valueRange: range, ticker: () => ticks},
      },
      ...this.style(curve, chart),
    });
    return {curve, chart, dygraph};
  }

  style(curve, chart) {
    const {left} = Curves.plot(chart.clientWidth || chart.parentElement.clientWidth);
    return {
      colors: [styleValue(curve.colour)],
      gridLineColor: styleValue('--grid'),
      axisLineColor: styleValue('--grid'),
      axisLabelWidth: left - 6,  // dygraphs leaves room for its tick marks, too
    };
  }

  ticks(from, to) {
    const {width} = Curves.plot(this.charts[0]?.chart.clientWidth ?? 800);
    return this.clock.ticks(from, to, (to - from) / width * 80).ticks
        .map(({at}) => ({v: at, label: ''}));
  }

  shadeSleep(context, area) {
    context.save();
    context.fillStyle = styleValue('--sleep-shade');
    const scale = area.w / this.view.width;
    shade(context, this.data.lanes.asleep, (at) => area.x + (at - this.view.from) * scale, area.y, area.h, area.x, area.x + area.w);
    context.restore();
  }

  paint() {
    for (const {dygraph} of this.charts) {
      dygraph.updateOptions({dateWindow: [this.view.from, this.view.to]});
    }
  }

  restyle() {
    for (const {curve, chart, dygraph} of this.charts) {
      dygraph.updateOptions(this.style(curve, chart), true);
      dygraph.resize();
    }
  }

  // For each curve the last sample. If the curve changes from there to the next sample, that one,
  // too.
  at(time) {
    const found = [];
    for (const {curve} of this.charts) {
      const points = this.data.curves[curve.name].points;
      const index = lastBefore(points, time, 0);
      if (index < 0) continue;
      const [[at, value], next] = [points[index], points[index + 1]?.[1]];
      const isBetween = !curve.steps && at !== time && next !== undefined && next !== value;
      found.push({curve, text: `${amount(value)}${isBetween ? ` \u2192 ${amount(next)}` : ''}\u00a0${curve.unit}`});
    }
    return found;
  }
}
