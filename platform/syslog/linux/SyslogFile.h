// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base/Descriptor.h"
#include "platform/syslog/linux/SystemLogRecord.h"

namespace zorva {

/// A line of a syslog daemon's file: "Nov 26 12:02:05 HOST TAG[PID]: TEXT", the time in this
/// machine's zone, or a time in ISO 8601; BusyBox writes the facility and level before the tag.
/// Nothing if it does not begin with a time. The year is the latest in which the time is not more
/// than a day ahead of now (seconds since 1970).
std::optional<SystemLogRecord> parseSyslogLine(std::string_view line, std::int64_t now);

/// The messages in the file of a syslog daemon, the oldest first, from near its end. A rotated file
/// is read to its end before the new one, and a truncated one from its start. An unfinished line is
/// left for later.
class SyslogFile {
 public:
  /// The first of the paths that can be opened is read, from the last `earlier` lines on.
  SyslogFile(std::vector<std::string> paths, std::uint64_t earlier)
      : paths_(std::move(paths)), earlier_(earlier) {}

  /// Opens a file. False if none can be opened.
  bool open();
  /// The next message; nothing at the end.
  std::optional<SystemLogRecord> next(std::int64_t now);

 private:
  static constexpr std::int64_t kMaxFirstBytes = 65536;  ///< in which the earlier lines are sought

  bool openAt(const std::string& path);
  void skipToEarlier();
  bool read();
  bool fill();

  std::vector<std::string> paths_;
  std::uint64_t earlier_;
  std::string path_;
  Descriptor file_;
  std::string unread_;     ///< bytes that were read from the file
  std::size_t at_ = 0;     ///< of them returned
  bool skipLine_ = false;  ///< the rest of a line whose start was not read, or that is too long
};

}  // namespace zorva
