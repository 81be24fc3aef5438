// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "platform/locale/DateFormatting.h"

namespace zorva {

/// The settings on which a date's text depends besides its pattern.
struct DateSettings {
  std::string locale;  ///< identifier, for example "en_US"
  std::string zone;    ///< name of the time zone, for example "Europe/Berlin"
  bool operator==(const DateSettings&) const = default;
};

/// Date patterns (UTS #35) without zone fields, in a locale and in local time. "YY" is the locale's
/// week-based year, so that 31 December 2026 is "27" in en_US and "26" in de_DE.
///
/// Gregorian numeric dates are formatted here. ICU is loaded only for other calendars, other digits
/// and names of months: it costs 5 MiB and a third of a snapshot's time. Without ICU, those locales
/// are formatted as en_001.
class LocalDateFormatting : public DateFormatting {
 public:
  /// Returns the current settings. Called for every date, so it must be cheap.
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
