// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base/Date.h"

namespace zorva {

/// One inhibitor lock that a process holds with the login manager. Texts may contain any bytes.
struct LogindInhibitor {
  std::string what;  ///< what it inhibits, joined by colons ("sleep:idle")
  std::string who;   ///< the name that the holder gave
  std::string why;
  std::string mode;  ///< "block", "block-weak" or "delay"
  std::uint32_t user = 0;
  std::uint32_t pid = 0;
  auto operator<=>(const LogindInhibitor&) const = default;

  /// Whether it keeps the device awake: it blocks sleep, or idleness, which leads to sleep. A delay
  /// lock does not: it only postpones the sleep by some seconds.
  bool keepsAwake() const;
};

/// The times at which locks were taken. Equal locks of one process differ only in that; the
/// earliest comes first.
using InhibitorStarts = std::map<LogindInhibitor, std::vector<Date>>;

/// Reads the login manager's own record of one lock; nothing if the text is not one.
std::optional<LogindInhibitor> parseInhibitorFile(std::string_view text);

/// The times at which the locks recorded in the directory were taken: that of the pipe by which
/// each is held ("5.ref" beside "5"), which survives a restart of the login manager, otherwise that
/// of the record.
InhibitorStarts readInhibitorStarts(const std::string& directory);

}  // namespace zorva
