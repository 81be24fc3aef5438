#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "platform/locale/DateFormatting.h"
#include "platform/locale/linux/LinuxLocaleInformation.h"

namespace zorva {

/// Date patterns (UTS #35) in the system's locale and time zone. "YY" is the year of the locale's
/// week, so that 31 December 2026 is "27" in en_US and "26" in de_DE.
///
/// Numbers by the Gregorian calendar are written here, with the C library's local time. ICU is
/// asked for what is left: other calendars, other digits, names of months. It costs 5 MiB and a
/// third of a snapshot. Where it is not installed, those locales are written as en_001 is.
class LinuxDateFormatting : public DateFormatting {
 public:
  /// The settings of the moment; asked for every date, and so has to be cheap.
  using Settings = std::function<const LinuxLocaleInformation::Settings&()>;

  explicit LinuxDateFormatting(Settings settings) : settings_(std::move(settings)) {}

  std::unique_ptr<DateFormatter> makeFormatter(const std::string& pattern) override;

 private:
  Settings settings_;
};

}  // namespace zorva
