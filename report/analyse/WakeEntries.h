// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <span>
#include <string>

#include "report/analyse/LogHistory.h"
#include "report/read/LogReader.h"

namespace zorva {

/// The value of the first field of this name; empty if there is none.
std::string_view valueOf(std::span<const LogField> fields, std::string_view key);
/// The same as a number: 0 if there is none.
std::int64_t integerOf(std::span<const LogField> fields, std::string_view key);

/// The consecutive entries about one wake.
class WakeEntries {
 public:
  /// The [Wake] entry itself.
  WakeEntries(LogTime time, std::optional<LogTime> asleepSince, std::span<const LogField> fields,
              LogPosition position);

  LogTime time() const { return time_; }
  void setAsleepSince(LogTime time) { asleepSince_ = time; }
  void addDecoded(std::span<const LogField> fields);
  void addTracked(std::span<const LogField> fields);
  void reportTo(LogHistorySink& sink) const;

 private:
  LogTime time_;
  std::optional<LogTime> asleepSince_;
  std::string reason_;
  std::string decoded_;
  std::string owner_;
  std::int64_t ownerPid_ = 0;
  LogPosition position_;
};

}  // namespace zorva
