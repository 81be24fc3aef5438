// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "report/read/LogReader.h"

namespace zorva {

/// Rewrites a log so that it can be shared. Lines, categories, keys, figures and words stay. Names,
/// addresses and contents become tokens such as "ap-1", "process-3", "ip-2", "content-7", numbered
/// as they first occur. Equal values have the same token everywhere, and no token leads back to its
/// value. Text that cannot be parsed (damaged lines, unknown categories, values that do not match
/// their field) is treated as content.
///
/// A time with an offset from UTC would reveal the zone beside the log's local times. It becomes a
/// local time, or a token if the zone's offset is unknown. The zone may be known only from a later
/// entry: pieces are kept until then, or until finish().
///
/// The remaining text still reveals something: times, figures, lengths of dumps, and which values
/// are equal.
class Redaction {
 public:
  /// Which names stay.
  enum class Keep {
    Nothing,
    /// Those of processes, applications and units, so that the log still shows what used the
    /// battery. In a unit's name, the instance ("@...") and long hexadecimal numbers become tokens;
    /// a unit whose name is a path (a mount, a device) becomes one as a whole.
    Programs,
  };
  explicit Redaction(Keep keep = Keep::Nothing) : keep_(keep) {}

  /// Appends the redacted pieces, with the same number of lines and the same line ends.
  void append(const LogRecord& record, std::string& to);
  /// The log is over: appends what was kept.
  void finish(std::string& to);

  /// The number of different values that have been replaced.
  std::uint64_t tokens() const { return names_.size() + contents_.size(); }

 private:
  void appendPiece(const LogRecord& record, std::string& to);
  void appendEntry(const LogRecord& record, std::string& to);
  void appendLines(const LogRecord& record, std::string_view first, std::string_view between,
                   std::string& to);
  void appendDump(const LogRecord& record, std::string& to);
  void appendText(const LogRecord& record, std::string& to);
  void appendField(std::string_view category, const LogField& field, std::string& to);
  void appendAddress(std::string_view address, std::string& to);
  void appendTime(const LogField& field, std::string& to);
  void release(std::string& to);

  std::string program(std::string_view kind, std::string_view value);
  std::string withoutIds(std::string_view text);
  const std::string& name(std::string_view kind, std::string_view value);
  std::string content(std::string_view value);

  std::unordered_map<std::string, std::string> names_;     // by kind and value
  std::unordered_map<std::string, std::uint32_t> counts_;  // by kind
  // By hash, as contents may be most of the log. Two with the same hash would be shown as equal.
  std::unordered_map<std::uint64_t, std::uint32_t> contents_;
  std::uint64_t damaged_ = 0;
  std::vector<LogField> fields_;
  std::string scratch_;
  const Keep keep_;

  struct Zone {
    std::optional<std::chrono::seconds> offset;  // empty: it is not known
  };
  std::optional<Zone> zone_;  // of the last [Locale] entry; empty before the first
  // What waits for it, and the times that are missing in it, with their places.
  std::string held_;
  std::vector<std::pair<std::size_t, std::string>> missing_;
};

}  // namespace zorva
