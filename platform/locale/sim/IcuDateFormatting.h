#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/locale/DateFormatting.h"

namespace zorva {

/// What a date's text depends on beside its pattern.
///
/// A locale whose language ICU has no data for is treated as the root locale (weeks start on Monday
/// and the first one may have a single day), and a zone id that ICU does not know as UTC, so that
/// the text never depends on the environment of the process.
struct LocaleSettings {
  std::string locale;  ///< for example "en_US"; an encoding after it ("en_US.UTF-8") is ignored
  std::string zone;    ///< IANA time-zone id, for example "America/Los_Angeles"

  bool operator==(const LocaleSettings&) const = default;
};

/// Answers the settings of the moment. It is asked for every date and so has to be cheap.
using LocaleSettingsSource = std::function<LocaleSettings()>;

/// Date patterns (UTS #35) with ICU's calendar and locale data. The pattern is applied as it
/// stands: "YY" is the year of the locale's week, so that 31 December 2026 is "27" in en_US and
/// "26" in de_DE.
///
/// Should ICU's data be missing altogether, dates are written as Value describes them, in UTC.
class IcuDateFormatting : public DateFormatting {
 public:
  explicit IcuDateFormatting(LocaleSettingsSource settings) : settings_(std::move(settings)) {}

  std::unique_ptr<DateFormatter> makeFormatter(const std::string& pattern) override;

 private:
  LocaleSettingsSource settings_;
};

/// Abbreviation of the zone at the date, as the locale writes it: "PDT", "GMT+2".
std::string zoneAbbreviation(const LocaleSettings& settings, Date date);

/// Whether daylight-saving time is in effect in the zone at the date.
bool daylightSavingTime(const LocaleSettings& settings, Date date);

}  // namespace zorva
