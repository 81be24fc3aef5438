// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

#include "report/format/LogTime.h"

namespace zorva {

/// A point in time as people write it: absolute, as logTimeFrom() reads it, or relative to another:
/// "-8h" (also "d", "min", "s", and several, "-1d12h"), "23:00", "yesterday", "today 07:30".
class LogWhen {
 public:
  /// `isEnd`: a day alone is its last second, not its first one.
  static std::optional<LogWhen> parse(std::string_view text, bool isEnd);

  bool isRelative() const { return kind_ != Kind::Absolute; }

  /// Seen from a time. A time of day is the last one before; with `after`, the first one that
  /// follows this.
  LogTime seenFrom(LogTime from, std::optional<LogTime> after = std::nullopt) const;

 private:
  enum class Kind { Absolute, Before, OfDay, Day };

  LogWhen(Kind kind, LogTime value) : kind_(kind), value_(value) {}

  Kind kind_;
  LogTime value_;  // the time; or how long before; or the second of the day; or from midnight on
};

}  // namespace zorva
