// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

#include "report/format/LogFormat.h"

// The tables of LogFormat_*.cpp, by theme, and the words that they share.
namespace zorva::logformat {

/// The battery and what drains it: sleep, wake, display, heat, processes, power assertions.
std::span<const EntryFormat> power();
/// The modem, and the packets and messages that come over it.
std::span<const EntryFormat> radio();
/// Networks, applications, accessories and the services of the system.
std::span<const EntryFormat> services();

inline constexpr WordFormat kYesOrNo[] = {{"yes", ""}, {"no", ""}};
inline constexpr WordFormat kOnOrOff[] = {{"on", ""}, {"off", ""}};

}  // namespace zorva::logformat
