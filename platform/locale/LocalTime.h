// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <string>

#include "platform/base/Date.h"

// Local time by the C library and its tz database. If the year is out of the C library's range, all
// members of the result are 0. Its tm_zone is not to be used: musl frees it when the zone changes.
namespace zorva {

/// The date in the zone of this process, which is the system's unless TZ is set. If the zone's file
/// was replaced, it is read again.
std::tm localTime(Date date);

/// The date in a zone of the tz database ("Europe/Berlin"); in UTC if there is no such zone. The
/// zone of the process is changed only during the call.
std::tm localTimeIn(const std::string& zone, Date date);

/// The abbreviation of these zones at the date ("CET"); empty if the year is out of range.
std::string zoneAbbreviation(Date date);
std::string zoneAbbreviationIn(const std::string& zone, Date date);

/// Whether the tz database has the zone.
bool isTimeZone(const std::string& zone);

}  // namespace zorva
