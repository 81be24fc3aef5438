// SPDX-License-Identifier: Apache-2.0
#include "core/ZVLogger.h"

#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <utility>

#include "core/BatteryNotifications.h"
#include "platform/base/Text.h"

namespace zorva {
namespace {

template <typename Integer>
Integer clampedTo(double number) {
  if (std::isnan(number)) return 0;
  if (number >= static_cast<double>(std::numeric_limits<Integer>::max())) {
    return std::numeric_limits<Integer>::max();
  }
  if (number <= static_cast<double>(std::numeric_limits<Integer>::min())) {
    return std::numeric_limits<Integer>::min();
  }
  return static_cast<Integer>(number);
}

}  // namespace

void ZVLogger::logIfEnabled() {
  if (enabled_) log();
}

void ZVLogger::logEntryWithBody(std::string_view category, std::string_view body) {
  logEntryWithBodyForDate(category, body, now());
}

void ZVLogger::logEntryWithBodyForDate(std::string_view category, std::string_view body,
                                       Date date) {
  if (!enabled_) return;
  if (logFile_ == nullptr) {
    writeToSystemLog(
        formatText("No file available to add %s log entry", std::string(category).c_str()));
    return;
  }
  // "%s [%s]%s\n", but concatenated, so that a body may contain any byte.
  logFile_->write(services_.entryDates.format(date));
  logFile_->write(" [");
  logFile_->write(category);
  logFile_->write("]");
  logFile_->write(body);
  logFile_->write("\n");
  logFile_->flush();
}

void ZVLogger::logError(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const std::string message = formatArguments(format, arguments);
  va_end(arguments);
  writeToSystemLog("Error: " + message);
  logEntryWithBody("Zorva", " " + message);
}

void ZVLogger::logSeparator() {
  if (enabled_ && logFile_ != nullptr) logFile_->write("\n\n");
}

std::string ZVLogger::formatTimeInSeconds(double seconds) {
  const auto minutes = clampedTo<std::int32_t>(seconds / 60.0);
  const auto wholeSeconds = clampedTo<std::int64_t>(std::round(seconds));
  return formatText("%02d:%02d:%02d", minutes / 60, minutes % 60,
                    static_cast<int>(wholeSeconds % 60));
}

bool ZVLogger::registerCallbackForOstrelNotification(Callback callback, const std::string& name) {
  Registration subscription = services_.systemNotifications.observe(
      name, [this, callback](std::string_view posted) { callback(*this, posted); });
  if (!subscription) return false;
  systemSubscriptions_.push_back(std::move(subscription));
  return true;
}

void ZVLogger::deregisterForAllOstrelNotifications() {
  systemSubscriptions_.clear();
}

void ZVLogger::logOnNotification(const std::string& name) {
  keep(notifications().observe(name, [this](const Notification&) { logIfEnabled(); }));
}

void ZVLogger::logOnBatteryLevel() {
  logOnNotification(kBatteryLevelDidChange);
  logOnNotification(kBatteryLevelDidNotChangeForSignificantTime);
}

void ZVLoggerLogCallback(ZVLogger& observer, std::string_view) {
  observer.logIfEnabled();
}

}  // namespace zorva
