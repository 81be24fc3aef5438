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

/// Base class of every logger: the output, the enabled flag, and the one format of everything that
/// is recorded, the log entry:
///
///     11/16/26 14:07:16 [Battery] level=87.00%; voltage=3921 mV;
///
/// A logger is created disabled and without output. Start-up sets its output, enables it and calls
/// log() for a snapshot; entries asked for while it is disabled are dropped.
class ZVLogger {
 public:
  /// What every logger needs. The caller keeps it alive as long as any logger.
  struct Services {
    const Clock& clock;
    DateFormatter& entryDates;  ///< formats with kEntryDatePattern; one for all loggers
    SystemLog& systemLog;
    SystemNotifications& systemNotifications;
    NotificationCenter& notifications;
  };

  /// Of the date in front of every entry. "YY" is the year of the week, not of the calendar.
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

  /// Calls log() while enabled: what notifications and timers call.
  void logIfEnabled();

  /// Writes one entry of the category with the body, which brings its own leading blank.
  void logEntryWithBody(std::string_view category, std::string_view body);
  /// The same, stamped with a date of its own.
  void logEntryWithBodyForDate(std::string_view category, std::string_view body, Date date);

  /// Writes an error entry (category "Zorva") and the line "Error: ..." on the system log.
  void logError(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// Writes two empty lines, unflushed.
  void logSeparator();

  /// "hh:mm:ss". Minutes are truncated and seconds rounded, each from the whole span: 59.6 is
  /// "00:00:00". Hours are not wrapped. A span beyond 32 bits of minutes is held to that range;
  /// not-a-number is 0.
  static std::string formatTimeInSeconds(double seconds);

  using Callback = void (*)(ZVLogger& observer, std::string_view name);

  /// Subscribes the callback to the system notification, with this logger as observer. Returns
  /// whether the name can be listened to.
  bool registerCallbackForOstrelNotification(Callback callback, const std::string& name);
  /// Removes every system-notification subscription of this logger.
  void deregisterForAllOstrelNotifications();

 protected:
  /// Lets logIfEnabled() run on every post of the name in this process.
  void logOnNotification(const std::string& name);
  /// The same for both news of the battery level: it changed, or has not for a significant time.
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

/// The callback of loggers that answer a system notification with a new snapshot: calls the
/// observer's log() while it is enabled.
void ZVLoggerLogCallback(ZVLogger& observer, std::string_view name);

}  // namespace zorva
