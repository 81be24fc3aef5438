// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <memory>
#include <optional>
#include <string>

#include "platform/base/Date.h"

namespace zorva {

/// A date pattern (UTS #35) without a field of the zone, with ICU's calendars and digits, in a
/// local time that is known: ICU's own zones are not asked. ICU is loaded when the first one is
/// made: it is large, and few locales need it.
class LoadedIcu {
 public:
  /// Nothing when ICU is not installed or does not take the pattern.
  static std::unique_ptr<LoadedIcu> open(const std::string& pattern, const std::string& locale);
  virtual ~LoadedIcu() = default;
  /// The text of the date, whose local time is given; nothing when ICU has none.
  virtual std::optional<std::string> format(Date date, const std::tm& local) = 0;
};

}  // namespace zorva
