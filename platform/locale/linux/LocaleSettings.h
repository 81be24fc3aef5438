// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace zorva {

/// The files that define the system's locale and time zone.
struct LocalePaths {
  std::string localeConf = "/etc/locale.conf";
  std::string defaultLocale = "/etc/default/locale";
  std::string localtime = "/etc/localtime";
  std::string timezone = "/etc/timezone";
  std::string zoneinfo = "/usr/share/zoneinfo";
};

/// The locale's identifier without character set and modifier ("en_US"); "en_US_POSIX" is the C
/// locale. docs/linux-locale.md lists the settings in their order.
std::string readLocaleIdentifier(const LocalePaths& paths);

/// The name of the system time zone ("Europe/Berlin"); "UTC" if it has none.
std::string readTimeZone(const LocalePaths& paths);

/// A value that changes whenever the system's zone file is replaced, even under the same name.
std::string timeZoneMark(const LocalePaths& paths);

}  // namespace zorva
