// SPDX-License-Identifier: Apache-2.0
#include "report/analyse/PowerIntervals.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/base/Text.h"

namespace zorva {
namespace {

// Programs that play hold an assertion meanwhile: "Playing audio", "audio-playing", "Playing some
// media.", as browsers and players name them. Not "Displaying".
bool tellsOfAudio(std::string_view assertion) {
  static constexpr std::array<std::string_view, 3> kWords = {"playing", "audio", "music"};
  const auto same = [](char one, char other) { return one == (other | 0x20); };
  const auto letter = [](char byte) { return (byte | 0x20) >= 'a' && (byte | 0x20) <= 'z'; };
  for (std::size_t at = 0; at < assertion.size(); ++at) {
    if (at > 0 && letter(assertion[at - 1])) continue;
    const std::string_view rest = assertion.substr(at);
    for (const std::string_view word : kWords) {
      if (rest.size() >= word.size() && std::equal(word.begin(), word.end(), rest.begin(), same)) {
        return true;
      }
    }
  }
  return false;
}

// "140/255" as a share of full brightness. Unknown brightness counts as full.
float brightnessOf(std::string_view text) {
  const std::size_t slash = text.find('/');
  if (slash == text.npos) return 1;
  const double now = parseReal(text.substr(0, slash)).value_or(0);
  const double most = parseReal(text.substr(slash + 1)).value_or(0);
  return most > 0 && std::isfinite(now) ? static_cast<float>(std::clamp(now / most, 0.0, 1.0)) : 1;
}

using Uses = std::vector<std::pair<std::uint32_t, float>>;

// Adds up the uses of equal names, and keeps the busiest.
void tidy(Uses& uses) {
  std::ranges::sort(uses, {}, &Uses::value_type::first);
  std::size_t kept = 0;
  for (const auto& [name, seconds] : uses) {
    if (kept > 0 && uses[kept - 1].first == name) {
      uses[kept - 1].second += seconds;
    } else {
      uses[kept++] = {name, seconds};
    }
  }
  uses.resize(kept);
  if (kept > PowerIntervals::kBusiest) {
    std::ranges::nth_element(uses, uses.begin() + PowerIntervals::kBusiest, std::greater(),
                             &Uses::value_type::second);
    uses.resize(PowerIntervals::kBusiest);
  }
  uses.shrink_to_fit();
}

}  // namespace

std::string_view shortUnitName(std::string_view unit) {
  std::string_view name = unit;
  if (name.ends_with(')')) name = name.substr(0, name.rfind('('));
  const bool application = name.starts_with("app-");
  if (application) name.remove_prefix(4);
  for (const std::string_view end : {".service", ".scope", ".slice"}) {
    if (name.ends_with(end)) name.remove_suffix(end.size());
  }
  if (application) name = name.substr(0, name.find('@'));
  return name.empty() || name == "-" ? unit : name;
}

PowerInterval& PowerInterval::operator+=(const PowerInterval& more) {
  end = more.end;
  used += more.used;
  asleep += more.asleep;
  charging += more.charging;
  weakCharger += more.weakCharger;
  lit += more.lit;
  brightness += more.brightness;
  hot += more.hot;
  audio += more.audio;
  call += more.call;
  data += more.data;
  wifiBytes += more.wifiBytes;
  modemBytes += more.modemBytes;
  if (more.joules) joules = joules.value_or(0) + *more.joules;
  cpuKnown = cpuKnown && more.cpuKnown;
  cpu += more.cpu;
  busiest.insert(busiest.end(), more.busiest.begin(), more.busiest.end());
  tidy(busiest);
  unseen.insert(unseen.end(), more.unseen.begin(), more.unseen.end());
  tidy(unseen);
  return *this;
}

bool PowerIntervals::takes(const LogSpan& span) {
  switch (span.lane) {
    case Lane::Asleep:
    case Lane::Charging:
    case Lane::WeakCharger:
    case Lane::Display:
    case Lane::Audio:
    case Lane::Call:
    case Lane::Data:
    case Lane::Thermal:
      return true;
    case Lane::NotCharged:
      return span.what == "OverTemp";
    case Lane::Assertion:
      return tellsOfAudio(span.what);
    default:
      return false;
  }
}

void PowerIntervals::span(const LogSpan& span) {
  if (!takes(span)) return;
  const LogTime begin = std::max(span.begin, window_.since);
  const LogTime end = std::min(span.end, window_.until);
  if (end <= begin) return;
  const float weight = span.lane == Lane::Display ? brightnessOf(span.what) : 1;
  const Lane lane = span.lane == Lane::Assertion ? Lane::Audio : span.lane;
  stretches_[static_cast<std::size_t>(lane)].push_back({begin, end, weight});
}

void PowerIntervals::battery(const BatteryReading& reading) {
  if (!window_.holds(reading.time)) return;
  if (!levels_.empty() && levels_.back().first == reading.time) levels_.pop_back();
  if (before_) interrupted_ += *before_ - reading.level;
  before_.reset();
  levels_.emplace_back(reading.time, reading.level);
}

void PowerIntervals::energy(LogTime from, LogTime to, std::span<const Growth> parts) {
  double sum = 0;
  for (const Growth& part : parts) {
    if (part.name.starts_with("package")) sum += part.amount;
  }
  if (!joulesSince_ && sum <= 0) return;
  if (!joulesSince_) joulesSince_ = from;
  joules_.push_back({from, to, sum});
}

void PowerIntervals::work(LogTime from, LogTime to, std::span<const Growth> units) {
  CpuSample& sample = work_.emplace_back(CpuSample{from, to, 0, {}, {}});
  for (const Growth& unit : units) {
    sample.all += unit.amount;
    sample.busiest.emplace_back(numberOf(shortUnitName(unit.name)),
                                static_cast<float>(unit.amount));
  }
  tidy(sample.busiest);
}

void PowerIntervals::processes(LogTime from, LogTime to, std::span<const ProcessUse> uses) {
  CpuSample& sample = processes_.emplace_back(CpuSample{from, to, 0, {}, {}});
  for (const ProcessUse& use : uses) {
    sample.all += static_cast<double>(use.seconds);
    sample.busiest.emplace_back(numberOf(use.name), static_cast<float>(use.seconds));
  }
  tidy(sample.busiest);
}

void PowerIntervals::processesEnded(LogTime to, std::span<const ProcessUse> uses) {
  if (processes_.empty() || processes_.back().to != to) return;
  for (const ProcessUse& use : uses) {
    processes_.back().unseen.emplace_back(numberOf(use.name), static_cast<float>(use.seconds));
  }
}

// Adds the part of the samples that falls into an interval. False if they do not cover it.
bool PowerIntervals::addCpu(const std::vector<CpuSample>& samples, std::size_t& first,
                            PowerInterval& to) {
  while (first < samples.size() && samples[first].to <= to.begin) ++first;
  LogTime covered = 0;
  double all = 0;
  Uses busiest;
  Uses unseen;
  for (std::size_t i = first; i < samples.size() && samples[i].from < to.end; ++i) {
    const CpuSample& sample = samples[i];
    const LogTime common = std::min(sample.to, to.end) - std::max(sample.from, to.begin);
    if (common <= 0) continue;
    const double share = static_cast<double>(common) / static_cast<double>(sample.to - sample.from);
    covered += common;
    all += share * sample.all;
    for (const auto& [name, seconds] : sample.busiest) {
      busiest.emplace_back(name, seconds * static_cast<float>(share));
    }
    for (const auto& [name, seconds] : sample.unseen) {
      unseen.emplace_back(name, seconds * static_cast<float>(share));
    }
  }
  if (covered * 10 < to.seconds() * 9) return false;
  tidy(busiest);
  to.cpu = all;
  to.busiest = std::move(busiest);
  to.unseen = std::move(unseen);
  return true;
}

void PowerIntervals::traffic(LogTime from, LogTime to, const TrafficUse& use) {
  if (use.others > 0) wifi_.push_back({from, to, use.others});
  if (use.modem > 0) modem_.push_back({from, to, use.modem});
}

std::uint32_t PowerIntervals::numberOf(std::string_view name) {
  const auto [found, added] =
      numbers_.try_emplace(std::string(name), static_cast<std::uint32_t>(names_.size()));
  if (added) names_.emplace_back(name);
  return found->second;
}

LogTime PowerIntervals::overlap(Lane lane, LogTime from, LogTime to) const {
  const auto& stretches = stretches_[static_cast<std::size_t>(lane)];
  auto at = std::ranges::upper_bound(stretches, from, {}, &Stretch::end);
  LogTime seconds = 0;
  for (; at != stretches.end() && at->begin < to; ++at) {
    seconds += std::max<LogTime>(0, std::min(at->end, to) - std::max(at->begin, from));
  }
  return seconds;
}

// The part of the samples that falls between two times.
double PowerIntervals::part(const std::vector<Sample>& samples, std::size_t& first, LogTime from,
                            LogTime to) {
  while (first < samples.size() && samples[first].to <= from) ++first;
  double sum = 0;
  for (std::size_t i = first; i < samples.size() && samples[i].from < to; ++i) {
    const auto length = static_cast<double>(samples[i].to - samples[i].from);
    const LogTime common = std::min(samples[i].to, to) - std::max(samples[i].from, from);
    if (length > 0) sum += samples[i].amount * static_cast<double>(common) / length;
  }
  return sum;
}

// Sorted stretches that overlap become one.
void PowerIntervals::unite(std::vector<Stretch>& stretches) {
  std::vector<Stretch> united;
  for (const Stretch& stretch : stretches) {
    if (united.empty() || united.back().end < stretch.begin) {
      united.push_back(stretch);
    } else {
      united.back().end = std::max(united.back().end, stretch.end);
    }
  }
  stretches = std::move(united);
}

void PowerIntervals::settle(LogTime until) {
  std::array<std::size_t, kLanes> first{};
  std::size_t firstJoules = 0;
  std::size_t firstWifi = 0;
  std::size_t firstModem = 0;
  std::size_t firstWork = 0;
  std::size_t firstProcesses = 0;
  for (auto& stretches : stretches_) std::ranges::sort(stretches, {}, &Stretch::begin);
  unite(stretches_[static_cast<std::size_t>(Lane::Audio)]);
  std::size_t settled = 0;
  for (std::size_t i = 1; i < levels_.size() && levels_[i].first < until; settled = i++) {
    const LogTime begin = levels_[i - 1].first;
    const LogTime end = levels_[i].first;
    PowerInterval interval;
    interval.begin = begin;
    interval.end = end;
    interval.used = levels_[i - 1].second - levels_[i].second;
    const auto add = [&](Lane lane, LogTime& seconds, double* weighted) {
      const auto& stretches = stretches_[static_cast<std::size_t>(lane)];
      std::size_t& at = first[static_cast<std::size_t>(lane)];
      while (at < stretches.size() && stretches[at].end <= begin) ++at;
      for (std::size_t j = at; j < stretches.size() && stretches[j].begin < end; ++j) {
        const LogTime common =
            std::min(stretches[j].end, end) - std::max(stretches[j].begin, begin);
        if (common <= 0) continue;
        seconds += common;
        if (weighted != nullptr) {
          *weighted += static_cast<double>(common) * static_cast<double>(stretches[j].weight);
        }
      }
      seconds = std::min(seconds, end - begin);
    };
    add(Lane::Asleep, interval.asleep, nullptr);
    add(Lane::Charging, interval.charging, nullptr);
    add(Lane::WeakCharger, interval.weakCharger, nullptr);
    add(Lane::Display, interval.lit, &interval.brightness);
    LogTime notCharged = 0;
    add(Lane::Thermal, interval.hot, nullptr);
    add(Lane::NotCharged, notCharged, nullptr);
    interval.hot = std::max(interval.hot, notCharged);
    add(Lane::Audio, interval.audio, nullptr);
    interval.audio = std::min(interval.audio, interval.awake());
    add(Lane::Call, interval.call, nullptr);
    add(Lane::Data, interval.data, nullptr);
    if (!joules_.empty()) {
      const double joules = part(joules_, firstJoules, begin, end);
      if (*joulesSince_ <= begin && joules_.back().to >= end) interval.joules = joules;
    }
    interval.wifiBytes = part(wifi_, firstWifi, begin, end);
    interval.modemBytes = part(modem_, firstModem, begin, end);
    // Where units are counted, they have the processes that ended in between.
    interval.cpuKnown =
        addCpu(work_, firstWork, interval) || addCpu(processes_, firstProcesses, interval);
    intervals_.push_back(std::move(interval));
    merge();
  }
  if (settled == 0) return;
  levels_.erase(levels_.begin(), levels_.begin() + static_cast<std::ptrdiff_t>(settled));
  const auto forget = [since = levels_.front().first](auto& samples) {
    std::erase_if(samples, [&](const auto& sample) { return sample.to <= since; });
  };
  forget(joules_);
  forget(wifi_);
  forget(modem_);
  forget(work_);
  forget(processes_);
}

void PowerIntervals::close() {
  settle(std::numeric_limits<LogTime>::max());
  if (!levels_.empty()) before_ = levels_.back().second;
  levels_.clear();
  for (auto& stretches : stretches_) stretches.clear();
  joulesSince_.reset();
  joules_.clear();
  wifi_.clear();
  modem_.clear();
  work_.clear();
  processes_.clear();
}

// Beyond the limit two neighbours become one, unless the log was interrupted between them or one
// was on a charger and the other not.
void PowerIntervals::merge() {
  if (intervals_.size() < limit_) return;
  std::vector<PowerInterval> merged;
  bool single = false;  // the last one may get a neighbour
  for (PowerInterval& interval : intervals_) {
    single = single && merged.back().end == interval.begin &&
             merged.back().onBattery() == interval.onBattery();
    if (single) {
      merged.back() += interval;
    } else {
      merged.push_back(std::move(interval));
    }
    single = !single;
  }
  intervals_ = std::move(merged);
  limit_ = std::max(kMaximum, 2 * intervals_.size());
}

}  // namespace zorva
