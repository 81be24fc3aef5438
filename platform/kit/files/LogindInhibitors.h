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

/// One lock that a process holds with the login manager. Texts are any bytes.
struct LogindInhibitor {
  std::string what;  ///< what it hinders, joined by colons ("sleep:idle")
  std::string who;   ///< the holder's name for itself
  std::string why;
  std::string mode;  ///< "block", "block-weak" or "delay"
  std::uint32_t user = 0;
  std::uint32_t pid = 0;
  auto operator<=>(const LogindInhibitor&) const = default;

  /// Whether it keeps the device awake: it blocks sleep, or the idleness that leads to sleep. A
  /// delay lock does not: it only buys a few seconds for the way down.
  bool keepsAwake() const;
};

/// When locks were taken. Equal locks of one process differ in nothing but that; the
/// earliest comes first.
using InhibitorStarts = std::map<LogindInhibitor, std::vector<Date>>;

/// Reads the login manager's own record of one lock, or nothing when it is none.
std::optional<LogindInhibitor> parseInhibitorFile(std::string_view text);

/// When the locks recorded in the directory were taken: the age of the pipe over which each is held
/// ("5.ref" beside "5"), which a restart of the login manager leaves alone, else of the record.
InhibitorStarts readInhibitorStarts(const std::string& directory);

}  // namespace zorva
