#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/base/Date.h"

namespace zorva {

/// A date pattern (UTS #35) with ICU's calendars and digits. ICU is loaded when the first one is
/// made: it is large, and few locales need it.
class LoadedIcu {
 public:
  /// Nothing when ICU is not installed or does not take the pattern.
  static std::unique_ptr<LoadedIcu> open(const std::string& pattern, const std::string& locale,
                                         const std::string& zone);
  virtual ~LoadedIcu() = default;
  /// The date's text; nothing when ICU has none.
  virtual std::optional<std::string> format(Date date) = 0;
};

}  // namespace zorva
