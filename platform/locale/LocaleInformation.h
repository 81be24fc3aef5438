// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/base/Registration.h"

namespace zorva {

/// The current locale and the system time zone, with notifications of their changes and of the
/// clock being set.
class LocaleInformation {
 public:
  virtual ~LocaleInformation() = default;

  /// Identifier of the current locale, for example "en_US".
  virtual std::string identifier() = 0;
  /// Its country code, for example "US"; nothing if the locale has none.
  virtual std::optional<std::string> countryCode() = 0;
  /// Current abbreviation of the system time zone, for example "PDT".
  virtual std::string timeZoneAbbreviation() = 0;
  /// Whether daylight-saving time is in effect in the system time zone now.
  virtual bool daylightSavingTime() = 0;

  enum class Change { ClockSet, TimeZone, Locale };

  /// Calls back on the run loop after such a change. An empty registration means that this change
  /// cannot be observed.
  virtual Registration observe(Change change, std::function<void()> callback) = 0;
};

}  // namespace zorva
