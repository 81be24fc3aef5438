// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <string>

#include "platform/base/Observers.h"
#include "platform/locale/LocalDateFormatting.h"
#include "platform/locale/LocaleInformation.h"
#include "platform/loop/Clock.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The handset's locale and time zone, which date formatting also uses. Every setter notifies the
/// observers of that change.
class SimLocaleInformation : public LocaleInformation {
 public:
  SimLocaleInformation(SimParts& parts, const Clock& clock, std::function<void(Date)> setWallClock);

  std::string identifier() override { return settings_.locale; }
  std::optional<std::string> countryCode() override;
  std::string timeZoneAbbreviation() override;
  bool daylightSavingTime() override;
  Registration observe(Change change, std::function<void()> callback) override;

  const DateSettings& settings() const { return settings_; }

  /// For example "de_DE".
  void setIdentifier(const std::string& identifier);
  /// A name in the tz database, for example "Europe/Berlin".
  void setTimeZone(const std::string& timeZone);
  void setClock(Date date);

  /// Whether the text has the form of a locale identifier: language, script, country.
  static bool isLocale(const std::string& identifier);

 private:
  void notify(Change change) { observers_[change].notify(); }

  const Clock& clock_;
  std::function<void(Date)> setWallClock_;
  SimFaultPoint observeFault_;
  DateSettings settings_{"en_US", "UTC"};
  std::map<Change, Observers<>> observers_;
};

}  // namespace zorva
