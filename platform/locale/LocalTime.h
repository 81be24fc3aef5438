// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <string>

#include "platform/base/Date.h"

// Local time by the C library and its tz database. What they return is all zeroes for a year that
// the C library cannot count to. The abbreviation of the zone, tm_zone, is never freed.
namespace zorva {

/// The date in the zone of this process, which is the system's unless TZ is set, after another look
/// at the zone's file if that was replaced.
std::tm localTime(Date date);

/// The date in a zone of the tz database ("Europe/Berlin"); in UTC when there is no such zone. The
/// zone of the process is another only during the call.
std::tm localTimeIn(const std::string& zone, Date date);

/// Whether the tz database has the zone.
bool isTimeZone(const std::string& zone);

}  // namespace zorva
