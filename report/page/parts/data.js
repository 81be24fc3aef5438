// The log's data, as PageWriter left them in the page.

// An element is read once and then removed: the data of a long log take some megabytes.
function readElement(id) {
  const element = document.getElementById(id);
  const text = element.textContent;
  element.remove();
  return JSON.parse(text);
}

// Spans are consecutive numbers. Times and positions are differences from those of the span before.
function readSpans(numbers, texts, begin) {
  const kBeginUnknown = 1, kEndUnknown = 2, kMerged = 4;
  const spans = [];
  let first = 0;
  for (let i = 0; i < numbers.length;) {
    begin += numbers[i++];
    const length = numbers[i++];
    first += numbers[i++];
    const span = {
      begin, end: begin + length, first,
      who: texts[numbers[i++]], pid: numbers[i++], what: texts[numbers[i++]],
      detail: texts[numbers[i++]], beginKnown: true, endKnown: true, count: 1, held: length,
    };
    const flags = numbers[i++];
    span.beginKnown = !(flags & kBeginUnknown);
    span.endKnown = !(flags & kEndUnknown);
    if (flags & kMerged) {
      span.count = numbers[i++];
      span.held = numbers[i++];
    }
    spans.push(span);
  }
  return spans;
}

function readCurve(numbers, begin) {
  const points = [];
  for (let i = 0; i < numbers.length; i += 2) {
    begin += numbers[i];
    points.push([begin, numbers[i + 1]]);
  }
  return points;
}

// How the processes, in seconds, and the modem, in milliseconds, used the time between two samples.
function readWork(stored, texts, begin) {
  return stored.map(([at, length, first, amount, ...numbers]) => {
    const uses = [];
    for (let i = 0; i < numbers.length; i += 3) {
      uses.push({name: texts[numbers[i]], pid: numbers[i + 1], amount: numbers[i + 2]});
    }
    return {begin: begin + at, end: begin + at + length, first, amount, uses};
  });
}

// The words and figures of a log. Intervals of its account: a begin, an end, the percent used, then
// pairs of a part and its percent.
function readSummary(log) {
  const summary = readElement(`summary-${log}`);
  for (const [i, [begin, end, used, ...numbers]] of (summary.account?.intervals ?? []).entries()) {
    const parts = [];
    for (let k = 0; k < numbers.length; k += 2) parts.push([numbers[k], numbers[k + 1]]);
    summary.account.intervals[i] = {begin, end, used, parts};
  }
  return summary;
}

// All times on the axis are in seconds that never go back. `clock` gives the local time: from its
// first number on, it is the time on the axis minus the second number. The third number is the size
// of the leap there.
function readTimeline(log) {
  const stored = readElement(`timeline-${log}`);
  const [begin, end] = stored.range;
  const data = {begin, lastEntry: end, end: Math.max(end, begin + 1), clock: [], lanes: {}, merged: {}, curves: {},
                traffic: [], work: readWork(stored.work, stored.texts, begin),
                modem: readWork(stored.modem, stored.texts, begin)};
  for (let i = 0; i < stored.clock.length; i += 3) {
    data.clock.push({at: stored.clock[i], shift: stored.clock[i + 1], jump: stored.clock[i + 2]});
  }
  for (const [name, lane] of Object.entries(stored.lanes)) {
    data.lanes[name] = readSpans(lane.spans, stored.texts, begin);
    data.merged[name] = lane.merged;
  }
  for (const [name, curve] of Object.entries(stored.curves)) {
    data.curves[name] = {width: curve.width, points: readCurve(curve.points, begin)};
  }
  for (let i = 0; i < stored.traffic.length; i += 4) {
    const [at, length, received, sent] = stored.traffic.slice(i, i + 4);
    data.traffic.push({begin: begin + at, end: begin + at + length, received, sent});
  }
  const spans = Object.values(data.lanes).flat();
  data.first = spans.reduce((first, span) => Math.min(first, span.begin), begin);
  data.last = spans.reduce((last, span) => Math.max(last, span.end), data.end);
  return data;
}

// The last index whose begin is not later than the time, or -1.
function lastBefore(items, time, key = 'begin') {
  let low = 0, high = items.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (items[middle][key] <= time) low = middle + 1;
    else high = middle;
  }
  return low - 1;
}
