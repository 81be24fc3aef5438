// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

/// Posted in this process by the telephony logger when the state of the radio's transmitter is
/// reported, before its entry.
inline constexpr const char* kRadioTransmitStatusDidChange =
    "ZVRadioTransmitStatusDidChangeNotification";

}  // namespace zorva
