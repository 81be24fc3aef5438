// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace zorva {

/// The files that say which locale and time zone the system has.
struct LocalePaths {
  std::string localeConf = "/etc/locale.conf";
  std::string defaultLocale = "/etc/default/locale";
  std::string localtime = "/etc/localtime";
  std::string timezone = "/etc/timezone";
  std::string zoneinfo = "/usr/share/zoneinfo";
};

/// The locale's identifier without character set and modifier ("en_US"); "en_US_POSIX" is the C
/// locale. docs/linux-locale.md says which setting counts.
std::string readLocaleIdentifier(const LocalePaths& paths);

/// The name of the system time zone ("Europe/Berlin"); "UTC" when it has none.
std::string readTimeZone(const LocalePaths& paths);

/// What differs whenever the system's zone file was replaced, also under the same name.
std::string timeZoneMark(const LocalePaths& paths);

}  // namespace zorva
