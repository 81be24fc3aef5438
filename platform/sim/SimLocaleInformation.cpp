#include "platform/sim/SimLocaleInformation.h"

#include <memory>
#include <regex>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <utility>

namespace zorva {
namespace {

std::unique_ptr<icu::TimeZone> zoneNamed(const std::string& name) {
  return std::unique_ptr<icu::TimeZone>(
      icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
}

bool daylightSavingIn(const icu::TimeZone& zone, Date date) {
  UErrorCode status = U_ZERO_ERROR;
  std::int32_t rawOffset = 0;
  std::int32_t saving = 0;
  const double milliseconds = static_cast<double>(secondsSinceEpoch(date)) * 1000.0;
  zone.getOffset(milliseconds, 0, rawOffset, saving, status);
  return U_SUCCESS(status) && saving != 0;
}

}  // namespace

SimLocaleInformation::SimLocaleInformation(SimParts& parts, SimClock& clock)
    : clock_(clock), observeFault_(parts.faults, "locale.observe") {
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
  const std::string country = icu::Locale(identifier_.c_str()).getCountry();
  if (country.empty()) return std::nullopt;
  return country;
}

std::string SimLocaleInformation::timeZoneAbbreviation() {
  const auto zone = zoneNamed(timeZone_);
  icu::UnicodeString name;
  zone->getDisplayName(daylightSavingIn(*zone, clock_.now()), icu::TimeZone::SHORT,
                       icu::Locale(identifier_.c_str()), name);
  std::string text;
  name.toUTF8String(text);
  return text;
}

bool SimLocaleInformation::daylightSavingTime() {
  return daylightSavingIn(*zoneNamed(timeZone_), clock_.now());
}

Registration SimLocaleInformation::observe(Change change, std::function<void()> callback) {
  if (observeFault_.strikes()) return {};
  return observers_[change].add(std::move(callback));
}

void SimLocaleInformation::setIdentifier(const std::string& identifier) {
  identifier_ = identifier;
  tell(Change::Locale);
}

void SimLocaleInformation::setTimeZone(const std::string& timeZone) {
  timeZone_ = timeZone;
  tell(Change::TimeZone);
}

void SimLocaleInformation::setClock(Date date) {
  clock_.set(date);
  tell(Change::ClockSet);
}

bool SimLocaleInformation::isLocale(const std::string& identifier) {
  static const std::regex shape("[a-z]{2,3}(_[A-Z][a-z]{3})?(_([A-Z]{2}|[0-9]{3}))?");
  return std::regex_match(identifier, shape);
}

bool SimLocaleInformation::isTimeZone(const std::string& name) {
  return *zoneNamed(name) != icu::TimeZone::getUnknown();
}

}  // namespace zorva
