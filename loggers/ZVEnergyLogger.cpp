// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVEnergyLogger.h"

#include <algorithm>
#include <utility>

#include "platform/base/Text.h"

namespace zorva {
namespace {

using Counter = EnergyCounters::Counter;

// The most microjoules that a part can have used in the seconds.
double mostIn(double seconds) {
  return ZVEnergyLogger::kMaxWatts * seconds * 1e6;
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ",") + safeText(name);
  return text;
}

}  // namespace

std::unique_ptr<ZVEnergyLogger> ZVEnergyLogger::logger(const Services& services,
                                                       EnergyCounters& counters) {
  std::unique_ptr<ZVEnergyLogger> made(new ZVEnergyLogger(services, counters));
  return made->accounts_.empty() ? nullptr : std::move(made);
}

ZVEnergyLogger::ZVEnergyLogger(const Services& services, EnergyCounters& counters)
    : ZVLogger(services), counters_(counters) {
  take(counters_.read());
  logOnBatteryLevel();
}

void ZVEnergyLogger::log() {
  const EnergyCounters::Reading reading = counters_.read();
  if (reading.counters.empty()) {
    logError("Energy: No counter can be read");
    return;
  }
  const News news = take(reading);
  std::string body;
  for (const Counter& counter : reading.counters) {
    const Account& account = accounts_[counter.id];
    const std::string name = safeText(counter.name);
    body += account.last
                ? formatText(" %s=%.1f J;", name.c_str(), static_cast<double>(account.used) * 1e-6)
                : formatText(" %s=<unavailable>;", name.c_str());
  }
  if (!news.atLeast.empty()) body += formatText(" at_least=%s;", joined(news.atLeast).c_str());
  if (!news.restarted.empty()) body += formatText(" restarted=%s;", joined(news.restarted).c_str());
  logEntryWithBody("Energy", body);
}

ZVEnergyLogger::News ZVEnergyLogger::take(const EnergyCounters::Reading& reading) {
  // One event restarts all counters; two that pass the ends of their ranges between the same two
  // entries are rare.
  int moved = 0, wentBack = 0;
  for (const Counter& counter : reading.counters) {
    const Account& account = accounts_[counter.id];
    if (!counter.used || !account.last || counter.range == 0) continue;
    if (*counter.used != *account.last) ++moved;
    if (*counter.used < *account.last) ++wentBack;
  }
  const bool allRestarted = moved > 1 && wentBack == moved;

  News news;
  for (const Counter& counter : reading.counters) {
    if (!counter.used) continue;
    Account& account = accounts_[counter.id];
    const double most = mostIn(account.last ? reading.awake - account.awake : 0);
    const std::uint64_t now = *counter.used, before = account.last.value_or(now);
    account.last = now;
    account.awake = reading.awake;
    const bool less = now < before;
    const std::uint64_t used = less ? counter.range - before + now : now - before;
    if (less && (allRestarted || before > counter.range || static_cast<double>(used) > most)) {
      news.restarted.push_back(counter.name);
      continue;
    }
    account.used += used;
    if (counter.range > 0 && used > 0 &&
        static_cast<double>(used) + static_cast<double>(counter.range) <= most) {
      news.atLeast.push_back(counter.name);
    }
  }
  return news;
}

}  // namespace zorva
