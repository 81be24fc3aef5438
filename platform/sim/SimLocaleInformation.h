#pragma once

#include <map>
#include <string>

#include "platform/LocaleInformation.h"
#include "platform/Observers.h"
#include "platform/sim/IcuDateFormatting.h"
#include "platform/sim/SimClock.h"
#include "platform/sim/SimParts.h"

namespace zorva {

/// The handset's locale and time zone, which date formatting follows too. Every setter tells those
/// who observe the change.
class SimLocaleInformation : public LocaleInformation {
 public:
  SimLocaleInformation(SimParts& parts, SimClock& clock);

  std::string identifier() override { return settings_.locale; }
  std::optional<std::string> countryCode() override;
  std::string timeZoneAbbreviation() override;
  bool daylightSavingTime() override;
  Registration observe(Change change, std::function<void()> callback) override;

  const LocaleSettings& settings() const { return settings_; }

  /// For example "de_DE".
  void setIdentifier(const std::string& identifier);
  /// A name of the zone database, for example "Europe/Berlin".
  void setTimeZone(const std::string& timeZone);
  void setClock(Date date);

  /// Whether this has the shape of a locale identifier: language, script, country.
  static bool isLocale(const std::string& identifier);
  /// Whether the zone database knows the name.
  static bool isTimeZone(const std::string& name);

 private:
  void tell(Change change) { observers_[change].tell(); }

  SimClock& clock_;
  SimFaultPoint observeFault_;
  LocaleSettings settings_{"en_US", "UTC"};
  std::map<Change, Observers<>> observers_;
};

}  // namespace zorva
