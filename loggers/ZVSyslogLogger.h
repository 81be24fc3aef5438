// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "core/ZVLogger.h"
#include "platform/syslog/SystemLogQueries.h"

namespace zorva {

/// Copies the messages of the system log, so that they can be read beside the battery's entries: at
/// each snapshot and each change of the battery's status those that have arrived since the previous
/// query, each with its own time, all between blank lines:
///
///     11/16/26 14:07:16 [Syslog] mediad[45]: starting playback
///
/// At most kMaxMessageBytes of a message are copied, whole characters only. The message is cut
/// before it is escaped, so its text in the log may be longer.
class ZVSyslogLogger : public ZVLogger {
 public:
  static constexpr int kMaxResults = 257;  ///< handled by one query
  static constexpr std::size_t kMaxMessageBytes = 1024;

  /// Skips the messages already in the system log, except the last ten.
  static std::unique_ptr<ZVSyslogLogger> logger(const Services& services,
                                                SystemLogQueries& facility);

  void log() override;

  using Step = std::function<void(const SystemLogMessage& message, std::uint32_t id)>;
  /// Passes each new message to the step, if there is one. Ends after a message that is not newer
  /// than the last one, and after kMaxResults messages; the rest is left for the next query.
  void enumerateResultsOfSLQQueryUsingBlock(const SystemLogQuery& query, const Step& step);

  /// The highest id that was handled; 0 before the first.
  std::uint32_t lastMessageID() const { return lastMessageID_; }

 private:
  ZVSyslogLogger(const Services& services, SystemLogQueries& facility);
  void logMessage(const SystemLogMessage& message);

  SystemLogQueries& facility_;
  std::uint32_t lastMessageID_ = 0;
};

}  // namespace zorva
