// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/base/Registration.h"
#include "platform/base/Value.h"

namespace zorva {

/// The notifications of the telephony notification centre, and the keys of what comes with it.
namespace telephony {

inline constexpr const char* kDaemonRestart = "telephony.daemon-restart";

inline constexpr const char* kSignalStrength = "telephony.signal-strength";
inline constexpr const char* kRawSignalStrength = "raw-signal-strength";  ///< integer, dBm
inline constexpr const char* kDataPlanStatus = "telephony.data-plan-status";
inline constexpr const char* kRadioBandChange = "telephony.radio-band-change";
inline constexpr const char* kCallStatusChange = "telephony.call-status-change";
inline constexpr const char* kCallControlFailure = "telephony.call-control-failure";
inline constexpr const char* kRadioTransmit = "telephony.radio-transmit";
inline constexpr const char* kDCHStatus = "dch-status";    ///< boolean
inline constexpr const char* kUTBFStatus = "utbf-status";  ///< boolean
inline constexpr const char* kSimStatusChange = "telephony.sim-status-change";
/// Text: this key's own name followed by the status word.
inline constexpr const char* kSimStatus = "sim-status.";

inline constexpr const char* kCellChanged = "telephony.cell-changed";
inline constexpr const char* kCellID = "cell-id";                       ///< integer
inline constexpr const char* kLocationAreaCode = "location-area-code";  ///< integer
inline constexpr const char* kRegistrationStatusChanged = "telephony.registration-status-changed";
inline constexpr const char* kRegistrationStatus = "registration-status";  ///< text
inline constexpr const char* kInHomeCountry = "in-home-country";           ///< boolean
inline constexpr const char* kDataStatusChanged = "telephony.data-status-changed";
inline constexpr const char* kDataAttached = "data-attached";    ///< boolean
inline constexpr const char* kDataActive = "data-active";        ///< boolean
inline constexpr const char* kDataIndicator = "data-indicator";  ///< text
inline constexpr const char* kOperatorNameChanged = "telephony.operator-name-changed";
inline constexpr const char* kOperatorName = "operator-name";  ///< text

/// Its information has the time in each baseband state in milliseconds, by the state's name.
inline constexpr const char* kStateDurationReport = "telephony.state-duration-report";

/// What values and names begin with.
inline constexpr std::string_view kRegistrationStatusPrefix = "network-registration.";
inline constexpr std::string_view kDataIndicatorPrefix = "packet-data.radio-indicator.";
inline constexpr std::string_view kBasebandStatePrefix = "modem.power-state-residency.";
static_assert(kRegistrationStatusPrefix.size() == 21);
static_assert(kDataIndicatorPrefix.size() == 28);
static_assert(kBasebandStatePrefix.size() == 28);

}  // namespace telephony

/// The telephony notification centre: news of the radio, the network and calls, by name.
class TelephonyNotifications {
 public:
  virtual ~TelephonyNotifications() = default;

  using Callback = std::function<void(std::string_view name, const Dictionary& information)>;

  /// Calls back on the run loop for every notification of the name, from any sender.
  virtual Registration observe(const std::string& name, Callback callback) = 0;
};

}  // namespace zorva
