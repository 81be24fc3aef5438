// Times and amounts in words.

const kDays = ['Sun', 'Mon', 'Tue', 'Wed', 'Thu', 'Fri', 'Sat'];
const kMonths = ['Jan', 'Feb', 'Mar', 'Apr', 'May', 'Jun', 'Jul', 'Aug', 'Sep', 'Oct', 'Nov', 'Dec'];
const kMinus = '\u2212';

const twoDigits = (number) => String(number).padStart(2, '0');

// The log's local times, counted as if the device's zone were UTC.
class Clock {
  constructor(stretches) {
    this.stretches = stretches;
  }

  shiftAt(at) {
    const index = lastBefore(this.stretches, at, 'at');
    return this.stretches.length ? this.stretches[Math.max(0, index)].shift : 0;
  }

  local(at) {
    return new Date((Math.round(at) - this.shiftAt(at)) * 1000);
  }

  // The place on the axis of a local time, not before `after` where the log has the time twice.
  axis(local, after = -Infinity) {
    let found = null;
    this.stretches.forEach(({at, shift}, i) => {
      const begin = i === 0 ? -Infinity : at;
      const end = this.stretches[i + 1]?.at ?? Infinity;
      const place = local + shift;
      if (place < begin || place > end) return;
      if (found === null || found < after) found = place;
    });
    // A time that the clock skipped.
    return found ?? this.stretches.find(({at, shift}) => at - shift > local)?.at ?? local + this.shiftAt(Infinity);
  }

  time(at, seconds = true) {
    const local = this.local(at);
    const text = `${twoDigits(local.getUTCHours())}:${twoDigits(local.getUTCMinutes())}`;
    return seconds ? `${text}:${twoDigits(local.getUTCSeconds())}` : text;
  }

  day(at) {
    const local = this.local(at);
    return `${kDays[local.getUTCDay()]} ${local.getUTCDate()} ${kMonths[local.getUTCMonth()]}`;
  }

  date(at) {
    return `${this.day(at)} ${this.local(at).getUTCFullYear()}`;
  }

  // Round local times between two places on the axis, at least so many seconds apart.
  ticks(from, to, apart) {
    const steps = [1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 10800, 21600,
                   43200, 86400, 172800, 604800, 1209600, 2592000, 7776000, 31536000];
    const step = steps.find((one) => one >= apart) ?? apart;
    const ticks = [];
    this.stretches.forEach((stretch, i) => {
      const begin = Math.max(from, i === 0 ? -Infinity : stretch.at);
      const end = Math.min(to, this.stretches[i + 1]?.at ?? Infinity);
      for (let at = Math.ceil((begin - stretch.shift) / step) * step + stretch.shift; at < end; at += step) {
        ticks.push({at, midnight: (at - stretch.shift) % 86400 === 0});
      }
    });
    return {step, ticks};
  }
}

function duration(seconds) {
  seconds = Math.round(seconds);
  const units = [['d', 86400], ['h', 3600], ['min', 60], ['s', 1]];
  const index = Math.min(units.findIndex(([, size]) => seconds >= size) >>> 0, 3);
  const [unit, size] = units[index];
  const whole = `${Math.floor(seconds / size)}\u00a0${unit}`;
  if (index === 3 || seconds % size === 0) return whole;
  const [smaller, smallerSize] = units[index + 1];
  const rest = Math.floor(seconds % size / smallerSize);
  return rest ? `${whole} ${rest}\u00a0${smaller}` : whole;
}

function amount(value, digits = 1) {
  const text = Math.abs(value).toLocaleString('en', {maximumFractionDigits: digits});
  return value < 0 && Number(text) !== 0 ? kMinus + text : text;
}

function bytes(value) {
  const units = ['B', 'KiB', 'MiB', 'GiB', 'TiB'];
  let unit = 0;
  for (; value >= 1024 && unit < 4; ++unit) value /= 1024;
  return `${amount(value, unit && value < 100 ? 1 : 0)}\u00a0${units[unit]}`;
}

// Three digits are enough of an energy.
function energy(value, unit) {
  const size = Math.abs(value);
  if (size > 0 && size < 1) return `${amount(value * 1000, size < 0.01 ? 1 : 0)}\u00a0m${unit}`;
  return `${amount(value, size < 10 ? 2 : size < 100 ? 1 : 0)}\u00a0${unit}`;
}

const several = (count, one, more) => `${count.toLocaleString('en')} ${count === 1 ? one : more}`;
