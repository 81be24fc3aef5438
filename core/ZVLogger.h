// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/LogStream.h"
#include "core/NotificationCenter.h"
#include "platform/base/Registration.h"
#include "platform/locale/DateFormatting.h"
#include "platform/loop/Clock.h"
#include "platform/notifications/SystemNotifications.h"
#include "platform/system/SystemLog.h"

namespace zorva {

/// Base class of every logger: the output, the enabled flag, and the log entry, the one format of
/// everything that is recorded:
///
///     11/16/26 14:07:16 [Battery] level=87.00%; voltage=3921 mV;
///
/// A logger is created disabled and without output. Start-up sets its output, enables it and calls
/// log() for a snapshot; entries written while it is disabled are dropped.
class ZVLogger {
 public:
  /// The services that every logger needs. The caller keeps them alive as long as any logger.
  struct Services {
    const Clock& clock;
    DateFormatter& entryDates;  ///< formats with kEntryDatePattern; one for all loggers
    SystemLog& systemLog;
    SystemNotifications& systemNotifications;
    NotificationCenter& notifications;
  };

  /// The pattern of the date at the start of every entry. "YY" is the year of the week, not of the
  /// calendar.
  static constexpr const char* kEntryDatePattern = "MM/dd/YY HH:mm:ss";

  explicit ZVLogger(const Services& services) : services_(services) {}
  ZVLogger(const ZVLogger&) = delete;
  ZVLogger& operator=(const ZVLogger&) = delete;
  virtual ~ZVLogger() = default;

  LogStream* logFile() const { return logFile_; }
  void setLogFile(LogStream* logFile) { logFile_ = logFile; }
  bool enabled() const { return enabled_; }
  void setEnabled(bool enabled) { enabled_ = enabled; }

  /// Writes the snapshot: the entries for the current state of the logger's source.
  virtual void log() {}

  /// Calls log() if enabled; notifications and timers call this.
  void logIfEnabled();

  /// Writes one entry of the category. The body includes its leading blank.
  void logEntryWithBody(std::string_view category, std::string_view body);
  /// The same, with the given date.
  void logEntryWithBodyForDate(std::string_view category, std::string_view body, Date date);

  /// Writes an error entry (category "Zorva") and the line "Error: ..." to the system log.
  void logError(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// Writes two empty lines, unflushed.
  void logSeparator();

  /// "hh:mm:ss". Minutes are truncated and seconds rounded, each from the whole duration: 59.6 is
  /// "00:00:00". Hours are not wrapped. A duration beyond 32 bits of minutes is clamped; NaN is 0.
  static std::string formatTimeInSeconds(double seconds);

  using Callback = void (*)(ZVLogger& observer, std::string_view name);

  /// Subscribes the callback to the system notification, with this logger as observer. Returns
  /// whether the subscription succeeded.
  bool registerCallbackForOstrelNotification(Callback callback, const std::string& name);
  /// Removes every system-notification subscription of this logger.
  void deregisterForAllOstrelNotifications();

 protected:
  /// Calls logIfEnabled() on every post of the name in this process.
  void logOnNotification(const std::string& name);
  /// The same for both battery-level notifications: the level changed, or has not changed for a
  /// significant time.
  void logOnBatteryLevel();

  const Services& services() const { return services_; }
  NotificationCenter& notifications() const { return services_.notifications; }
  Date now() const { return services_.clock.now(); }
  void writeToSystemLog(std::string_view message) const { services_.systemLog.write(message); }

  /// Keeps a registration until the logger is destroyed.
  void keep(Registration registration) { kept_.push_back(std::move(registration)); }

 private:
  LogStream* logFile_ = nullptr;
  bool enabled_ = false;
  Services services_;
  std::vector<Registration> systemSubscriptions_;
  std::vector<Registration> kept_;
};

/// The callback of loggers that take a new snapshot on a system notification: calls the observer's
/// log() if it is enabled.
void ZVLoggerLogCallback(ZVLogger& observer, std::string_view name);

}  // namespace zorva
