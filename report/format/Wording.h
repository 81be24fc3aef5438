// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "report/format/LogTime.h"

// How times and figures are written for people.
namespace zorva {

/// "Mon 16 Nov 2026 21:30:00".
std::string dayAndTime(LogTime time);
/// "16 Nov 21:30:00".
std::string shortTime(LogTime time);
/// "21:30".
std::string clockTime(LogTime time);
/// Not negative, in two units: "40 s", "12 min 40 s", "2 h 41 min", "3 d 4 h".
std::string duration(LogTime seconds);
/// "512 B", "1.2 MiB".
std::string byteCount(double bytes);
/// With two or three significant digits: "0.59", "5.0", "12".
std::string figure(double value);
/// "1 sleep", "1,234 sleeps".
std::string counted(std::uint64_t count, std::string_view one, std::string_view several);
std::string grouped(std::uint64_t count);
/// "12 %", "0.59 %".
std::string percentText(double value);

/// "84 %", "9.4 %": without a fraction from 10 on.
std::string wholePercent(double value);
/// With a capital first letter, if that is a letter of ASCII.
std::string capitalized(std::string text);

}  // namespace zorva
