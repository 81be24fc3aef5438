// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVSuspendLogger.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "platform/base/Text.h"

namespace zorva {
namespace {

using Growth = std::vector<std::pair<std::string, std::int64_t>>;

// Each source by its id and name. An id may be another source's by now.
using Sources = std::map<std::pair<std::string, std::string>, const SuspendTotals::Source*>;

Sources sourcesOf(const SuspendTotals& totals) {
  Sources sources;
  for (const auto& source : totals.sources) sources[{source.id, source.name}] = &source;
  return sources;
}

// By how much a figure has grown, by the sources' names, largest first.
template <typename Figure>
Growth growth(const SuspendTotals& before, const SuspendTotals& now, Figure figure,
              std::size_t most) {
  const Sources known = sourcesOf(before);
  std::map<std::string, std::int64_t> byName;
  for (const auto& source : now.sources) {
    const auto then = known.find({source.id, source.name});
    const std::int64_t was = then == known.end() ? 0 : figure(*then->second);
    const std::int64_t is = figure(source);
    byName[source.name] += is < was ? is : is - was;  // one that began anew
  }
  Growth grown;
  for (const auto& [name, more] : byName) {
    if (more > 0) grown.emplace_back(name, more);
  }
  std::ranges::stable_sort(grown, std::ranges::greater(), &Growth::value_type::second);
  if (grown.size() > most) grown.resize(most);
  return grown;
}

// The names of the counters that have begun anew, with commas between.
std::string restarted(const SuspendTotals& before, const SuspendTotals& now) {
  std::string names;
  const auto add = [&](const std::string& name) {
    names += (names.empty() ? "" : ",") + safeText(name);
  };
  if (before.inHardware && now.inHardware && *now.inHardware < *before.inHardware) add("hardware");
  const Sources known = sourcesOf(before);
  for (const auto& source : now.sources) {
    const auto then = known.find({source.id, source.name});
    if (then != known.end() && source.events < then->second->events) add(source.name);
  }
  return names;
}

// "hh:mm:ss", without the rest of a second.
template <typename Duration>
std::string timeOf(Duration duration) {
  const auto whole = std::chrono::floor<std::chrono::seconds>(duration);
  return ZVLogger::formatTimeInSeconds(static_cast<double>(whole.count()));
}

// "deep" sleep is the firmware's, in which the hardware counts nothing.
std::string timeInHardware(const SuspendTotals& before, const SuspendTotals& now,
                           const std::string& mode) {
  if (mode.empty() || mode == "deep" || !now.inHardware || !before.inHardware ||
      *now.inHardware < *before.inHardware || now.asleep - before.asleep > now.maxInHardware) {
    return "<unknown>";
  }
  return timeOf(*now.inHardware - *before.inHardware);
}

bool hasFailed(const SuspendTotals& before, const SuspendTotals& now, const std::string& step) {
  const auto count = [&](const SuspendTotals& totals) {
    const auto found = totals.failedSteps.find(step);
    return found == totals.failedSteps.end() ? 0 : found->second;
  };
  return count(now) > count(before);
}

// Only steps in which devices take part name one.
bool hasDeviceFailed(const SuspendTotals& before, const SuspendTotals& now) {
  return std::ranges::any_of(now.failedSteps, [&](const auto& step) {
    return step.first != "freeze" && hasFailed(before, now, step.first);
  });
}

std::string textOrNone(const std::string& text) {
  return text.empty() ? "<none>" : safeText(text);
}

}  // namespace

std::unique_ptr<ZVSuspendLogger> ZVSuspendLogger::logger(const Services& services,
                                                         SuspendRecords& records,
                                                         SystemPower& power) {
  auto totals = records.read();
  if (!totals) return nullptr;
  return std::unique_ptr<ZVSuspendLogger>(
      new ZVSuspendLogger(services, records, power, std::move(*totals)));
}

ZVSuspendLogger::ZVSuspendLogger(const Services& services, SuspendRecords& records,
                                 SystemPower& power, SuspendTotals totals)
    : ZVLogger(services), records_(records), power_(power), before_(std::move(totals)) {
  registered_ = power_.registerForSystemPower(
      [this](std::uint32_t type, std::intptr_t argument) { handlePowerMessage(type, argument); });
  if (registered_.port) source_ = registered_.port->addSourceToRunLoop();
}

ZVSuspendLogger::~ZVSuspendLogger() {
  source_.reset();
  power_.deregisterForSystemPower(registered_.notifier);
  registered_.port.reset();
  power_.closeConnection(registered_.connection);
}

void ZVSuspendLogger::handlePowerMessage(std::uint32_t type, std::intptr_t argument) {
  switch (static_cast<PowerMessage>(type)) {
    case PowerMessage::CanSleep:
    case PowerMessage::WillSleep:
      power_.allowPowerChange(registered_.connection, argument);
      break;
    case PowerMessage::WillNotSleep:
      logSleep(false);
      break;
    case PowerMessage::HasPoweredOn:
      logSleep(true);
      break;
  }
}

void ZVSuspendLogger::logSleep(bool slept) {
  auto totals = records_.read();
  if (!totals) {
    logError("Suspend: The records of sleeps cannot be read");
    return;
  }
  const SuspendTotals before = std::exchange(before_, std::move(*totals));
  const SuspendTotals& now = before_;

  const auto blocked = [](const auto& source) { return source.blocked.count(); };
  std::string blockers;
  for (const auto& [name, milliseconds] : growth(before, now, blocked, kMaxBlockers)) {
    if (!blockers.empty()) blockers += ", ";
    blockers += safeText(name) + " (" + timeOf(std::chrono::milliseconds(milliseconds)) + ")";
  }
  // A hibernation is no sleep of that mode, and not counted.
  const bool counted = !slept || !now.successes || now.successes > before.successes;
  const std::string mode = counted ? now.mode : "";
  const std::string step = hasFailed(before, now, now.lastFailedStep) ? now.lastFailedStep : "";
  const std::string device = hasDeviceFailed(before, now) ? now.lastFailedDevice : "";
  const int error = now.failures > before.failures ? now.lastFailedError : 0;
  const auto asleep = std::max(now.asleep - before.asleep, std::chrono::milliseconds(0));
  std::string body = formatText(" asleep=%s;", timeOf(asleep).c_str());
  body += formatText(" hardware=%s;", timeInHardware(before, now, mode).c_str());
  body += formatText(" mode=%s;", mode.empty() ? "<unknown>" : safeText(mode).c_str());
  body += formatText(" result=%s;", slept ? "slept" : "failed");
  body += formatText(" failed_step=%s;", textOrNone(step).c_str());
  body += formatText(" failed_device=%s;", textOrNone(device).c_str());
  body += formatText(" failed_error=%d;", error);
  body += formatText(" blocked_by=%s;", blockers.empty() ? "<none>" : blockers.c_str());
  if (const std::string names = restarted(before, now); !names.empty()) {
    body += formatText(" restarted=%s;", names.c_str());
  }
  logEntryWithBody("Suspend", body);

  std::string sources;
  const auto events = [](const auto& source) { return source.events; };
  for (const auto& [name, count] : growth(before, now, events, kMaxSources)) {
    sources += formatText(" %s=%lld;", safeText(name).c_str(), static_cast<long long>(count));
  }
  if (!sources.empty()) logEntryWithBody("Wakeup Sources", sources);
}

}  // namespace zorva
