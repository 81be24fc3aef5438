// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <memory>
#include <optional>
#include <string>

#include "platform/base/Date.h"

namespace zorva {

/// A date pattern (UTS #35) without zone fields, with ICU's calendars and digits, for a given local
/// time: ICU's own zones are not used. ICU is loaded when the first pattern is created: it is
/// large, and few locales need it.
class LoadedIcu {
 public:
  /// Nothing if ICU is not installed or rejects the pattern.
  static std::unique_ptr<LoadedIcu> open(const std::string& pattern, const std::string& locale);
  virtual ~LoadedIcu() = default;
  /// The text of the date with the given local time; nothing if ICU fails.
  virtual std::optional<std::string> format(Date date, const std::tm& local) = 0;
};

}  // namespace zorva
