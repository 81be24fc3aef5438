// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "core/ZVLogger.h"
#include "platform/syslog/SystemLogQueries.h"

namespace zorva {

/// Copies the messages of the system log, so that they can be read next to what the battery did:
/// at each snapshot and each change of the battery's status those that came since the last time,
/// each stamped with its own time, and all of them between blank lines:
///
///     11/16/26 14:07:16 [Syslog] mediad[45]: starting playback
///
/// Of a message at most kMostMessageBytes are copied, whole characters only. The cut is made in the
/// message as it was sent: what stands escaped in the log may take more room, and is never cut.
class ZVSyslogLogger : public ZVLogger {
 public:
  static constexpr int kMaxResults = 257;  ///< handled by one query
  static constexpr std::size_t kMaxMessageBytes = 1024;

  /// Skips what is in the system log already, but for the last ten messages.
  static std::unique_ptr<ZVSyslogLogger> logger(const Services& services,
                                                SystemLogQueries& facility);

  void log() override;

  using Step = std::function<void(const SystemLogMessage& message, std::uint32_t id)>;
  /// Hands each new message to the step, if there is one. Ends after a message that is not newer
  /// than the last one, and after kMostResults messages; the others are left for the next query.
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
