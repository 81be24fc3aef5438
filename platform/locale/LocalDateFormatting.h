// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "platform/locale/DateFormatting.h"

namespace zorva {

/// What a date's text depends on beside its pattern.
struct DateSettings {
  std::string locale;  ///< identifier, for example "en_US"
  std::string zone;    ///< name of the time zone, for example "Europe/Berlin"
  bool operator==(const DateSettings&) const = default;
};

/// Date patterns (UTS #35) without a field of the zone, in a locale and in local time. "YY" is the
/// year of the locale's week, so that 31 December 2026 is "27" in en_US and "26" in de_DE.
///
/// Numbers by the Gregorian calendar are written here. ICU is loaded for what is left: other
/// calendars, other digits, names of months. It costs 5 MiB and a third of a snapshot. Where it is
/// not installed, those locales are written as en_001 is.
class LocalDateFormatting : public DateFormatting {
 public:
  /// The settings of the moment; asked for every date, and so has to be cheap.
  using Settings = std::function<const DateSettings&()>;
  /// A date in the zone of the settings.
  using LocalTime = std::function<std::tm(Date)>;

  LocalDateFormatting(Settings settings, LocalTime localTime)
      : settings_(std::move(settings)), localTime_(std::move(localTime)) {}

  std::unique_ptr<DateFormatter> makeFormatter(const std::string& pattern) override;

 private:
  Settings settings_;
  LocalTime localTime_;
};

}  // namespace zorva
