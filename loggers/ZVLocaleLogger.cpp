// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVLocaleLogger.h"

#include <string>

#include "platform/base/Text.h"

namespace zorva {

std::unique_ptr<ZVLocaleLogger> ZVLocaleLogger::logger(const Services& services,
                                                       LocaleInformation& locale) {
  return std::unique_ptr<ZVLocaleLogger>(new ZVLocaleLogger(services, locale));
}

ZVLocaleLogger::ZVLocaleLogger(const Services& services, LocaleInformation& locale)
    : ZVLogger(services), locale_(locale) {
  using Change = LocaleInformation::Change;
  for (const Change change : {Change::ClockSet, Change::TimeZone, Change::Locale}) {
    keep(locale_.observe(change, [this] { logIfEnabled(); }));
  }
}

void ZVLocaleLogger::log() {
  std::string body = formatText(" id=%s;", safeText(locale_.identifier()).c_str());
  body += formatText(" country=%s;", safeText(textOrNull(locale_.countryCode())).c_str());
  body += formatText(" time_zone=%s;", safeText(locale_.timeZoneAbbreviation()).c_str());
  body += formatText(" dst=%s;", yesOrNo(locale_.daylightSavingTime()));
  logEntryWithBody("Locale", body);
}

}  // namespace zorva
