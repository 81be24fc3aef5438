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

// By how much a figure of each source has grown, largest first. One that is less than before has
// begun anew.
template <typename Figure>
Growth growth(const SuspendTotals& before, const SuspendTotals& now, Figure figure,
              std::size_t most) {
  std::map<std::string, std::int64_t> was, is;
  for (const auto& source : before.sources) was[source.name] += figure(source);
  for (const auto& source : now.sources) is[source.name] += figure(source);
  Growth grown;
  for (const auto& [name, total] : is) {
    const auto then = was.find(name);
    const bool begunAnew = then == was.end() || total < then->second;
    const std::int64_t more = begunAnew ? total : total - then->second;
    if (more > 0) grown.emplace_back(name, more);
  }
  std::ranges::stable_sort(grown, std::ranges::greater(), &Growth::value_type::second);
  if (grown.size() > most) grown.resize(most);
  return grown;
}

// "hh:mm:ss", without the rest of a second.
template <typename Duration>
std::string timeOf(Duration duration) {
  const auto whole = std::chrono::floor<std::chrono::seconds>(duration);
  return ZVLogger::formatTimeInSeconds(static_cast<double>(whole.count()));
}

std::string timeInHardware(const SuspendTotals& before, const SuspendTotals& now, bool slept) {
  if (!now.inHardware) {
    return slept && now.lastInHardware ? timeOf(*now.lastInHardware) : "<unknown>";
  }
  if (!before.inHardware || *now.inHardware < *before.inHardware) return "<unknown>";
  return timeOf(*now.inHardware - *before.inHardware);
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
  const bool failed = now.failures > before.failures;
  const auto asleep = std::max(now.asleep - before.asleep, std::chrono::milliseconds(0));
  std::string body = formatText(" asleep=%s;", timeOf(asleep).c_str());
  body += formatText(" hardware=%s;", timeInHardware(before, now, slept).c_str());
  body += formatText(" mode=%s;", now.mode.empty() ? "<unknown>" : safeText(now.mode).c_str());
  body += formatText(" result=%s;", slept ? "slept" : "failed");
  body += formatText(" failed_step=%s;", textOrNone(failed ? now.failedStep : "").c_str());
  body += formatText(" failed_device=%s;", textOrNone(failed ? now.failedDevice : "").c_str());
  body += formatText(" failed_error=%d;", failed ? now.failedError : 0);
  body += formatText(" blocked_by=%s;", blockers.empty() ? "<none>" : blockers.c_str());
  logEntryWithBody("Suspend", body);

  std::string sources;
  const auto events = [](const auto& source) { return source.events; };
  for (const auto& [name, count] : growth(before, now, events, kMaxSources)) {
    sources += formatText(" %s=%lld;", safeText(name).c_str(), static_cast<long long>(count));
  }
  if (!sources.empty()) logEntryWithBody("Wakeup Sources", sources);
}

}  // namespace zorva
