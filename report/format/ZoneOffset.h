// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "report/format/LogTime.h"

namespace zorva {

/// How far a zone's local time is ahead of UTC, from the zone's abbreviation as in [Locale]: "CET",
/// "+0545", "-03". Empty if the abbreviation is unknown, or stands for several zones ("CST").
std::optional<std::chrono::seconds> zoneOffset(std::string_view abbreviation);

/// Whether a zone may have gone to summer time or back between two local times. The log has no
/// entry for that. True for the hours of the week and the months in which zones with this
/// abbreviation do so, also if this one never does.
bool mayHaveShifted(std::string_view abbreviation, LogTime one, LogTime other);

/// A time with its offset from UTC, "2026-11-18 05:30:00 +0000", as the local time of a zone:
/// "2026-11-18 06:30:00". Empty if it is no such time.
std::optional<std::string> localTime(std::string_view time, std::chrono::seconds zone);

}  // namespace zorva
