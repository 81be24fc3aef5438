// SPDX-License-Identifier: Apache-2.0
#include "platform/locale/sim/SimLocaleInformation.h"

#include <regex>
#include <utility>

#include "platform/locale/LocalTime.h"
#include "platform/locale/LocaleParts.h"

namespace zorva {
SimLocaleInformation::SimLocaleInformation(SimParts& parts, const Clock& clock,
                                           std::function<void(Date)> setWallClock)
    : clock_(clock),
      setWallClock_(std::move(setWallClock)),
      observeFault_(parts.faults, "locale.observe") {
  parts.sections.addBoth("clock", [this](const ScenarioNode& node) -> ScenarioAction {
    return [this, date = node.keys({"set"}).require("set").date()] { setClock(date); };
  });
  parts.sections.addBoth("locale", [this](const ScenarioNode& node) {
    return node.actions(
        {{"identifier",
          [this](const ScenarioNode& identifier) -> ScenarioAction {
            if (!isLocale(identifier.text())) {
              identifier.refuse("write a language, with a country or without, such as de_DE");
            }
            return [this, name = identifier.text()] { setIdentifier(name); };
          }},
         {"time_zone", [this](const ScenarioNode& zone) -> ScenarioAction {
            if (!isTimeZone(zone.text())) {
              zone.refuse(
                  "the zone database has no such time zone; write one such as Europe/Berlin");
            }
            return [this, name = zone.text()] { setTimeZone(name); };
          }}});
  });
}

std::optional<std::string> SimLocaleInformation::countryCode() {
  return zorva::countryCode(settings_.locale);
}

std::string SimLocaleInformation::timeZoneAbbreviation() {
  return zoneAbbreviationIn(settings_.zone, clock_.now());
}

bool SimLocaleInformation::daylightSavingTime() {
  return localTimeIn(settings_.zone, clock_.now()).tm_isdst > 0;
}

Registration SimLocaleInformation::observe(Change change, std::function<void()> callback) {
  if (observeFault_.strikes()) return {};
  return observers_[change].add(std::move(callback));
}

void SimLocaleInformation::setIdentifier(const std::string& identifier) {
  settings_.locale = identifier;
  notify(Change::Locale);
}

void SimLocaleInformation::setTimeZone(const std::string& timeZone) {
  settings_.zone = timeZone;
  notify(Change::TimeZone);
}

void SimLocaleInformation::setClock(Date date) {
  setWallClock_(date);
  notify(Change::ClockSet);
}

bool SimLocaleInformation::isLocale(const std::string& identifier) {
  static const std::regex shape("[a-z]{2,3}(_[A-Z][a-z]{3})?(_([A-Z]{2}|[0-9]{3}))?");
  return std::regex_match(identifier, shape);
}

}  // namespace zorva
