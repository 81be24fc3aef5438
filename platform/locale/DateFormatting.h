// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "platform/base/Date.h"

namespace zorva {

/// Formats dates with one Unicode date-field pattern (UTS #35) in the device's current locale and
/// time zone.
class DateFormatter {
 public:
  virtual ~DateFormatter() = default;
  virtual std::string format(Date date) = 0;
};

class DateFormatting {
 public:
  virtual ~DateFormatting() = default;

  /// A formatter for the pattern. It must not outlive the platform.
  virtual std::unique_ptr<DateFormatter> makeFormatter(const std::string& pattern) = 0;
};

}  // namespace zorva
