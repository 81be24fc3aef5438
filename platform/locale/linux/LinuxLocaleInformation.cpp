// SPDX-License-Identifier: Apache-2.0
#include "platform/locale/linux/LinuxLocaleInformation.h"

#include <utility>

#include "platform/locale/LocalTime.h"
#include "platform/locale/LocaleParts.h"

namespace zorva {

LinuxLocaleInformation::LinuxLocaleInformation(sd_event* event, const Clock& clock,
                                               LocalePaths paths)
    : event_(event),
      clock_(clock),
      paths_(std::move(paths)),
      filesChanged_(event, [this] { filesChanged(); }) {
  for (const std::string& path :
       {paths_.localeConf, paths_.defaultLocale, paths_.localtime, paths_.timezone}) {
    fileWatches_.emplace_back(event, path, LinuxPathWatch::Of::Entry,
                              [this] { filesChanged_.request(); });
  }
  // After the watches are added, so that no change is missed.
  readSettings();
  reported_ = {settings_.locale, settings_.zone, timeZoneMark(paths_)};
}

void LinuxLocaleInformation::readSettings() {
  settings_ = {readLocaleIdentifier(paths_), readTimeZone(paths_)};
}

std::string LinuxLocaleInformation::identifier() {
  readSettings();
  return settings_.locale;
}

std::optional<std::string> LinuxLocaleInformation::countryCode() {
  return zorva::countryCode(identifier());
}

std::string LinuxLocaleInformation::timeZoneAbbreviation() {
  return zoneAbbreviation(clock_.now());
}

bool LinuxLocaleInformation::daylightSavingTime() {
  return localTime(clock_.now()).tm_isdst > 0;
}

Registration LinuxLocaleInformation::observe(Change change, std::function<void()> callback) {
  if (change == Change::ClockSet && !clockSetWatch_) {
    clockSetWatch_ = ClockSetWatch::make(event_, [this] { observers_[Change::ClockSet].notify(); });
    if (!clockSetWatch_) return {};
  }
  return observers_[change].add(std::move(callback));
}

void LinuxLocaleInformation::filesChanged() {
  readSettings();
  const Reported before =
      std::exchange(reported_, {settings_.locale, settings_.zone, timeZoneMark(paths_)});
  const bool locale = before.locale != reported_.locale;
  const bool zone = before.zone != reported_.zone || before.zoneMark != reported_.zoneMark;
  auto observers = observers_;  // an observer may destroy this
  if (zone) observers[Change::TimeZone].notify();
  if (locale) observers[Change::Locale].notify();
}

}  // namespace zorva
