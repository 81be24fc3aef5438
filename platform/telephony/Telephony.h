// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zorva {

/// Status codes of calls.
enum class CallStatus : std::int32_t {
  Idle = 0,
  Active = 1,
  Held = 2,
  Sending = 3,
  Ringing = 4,
  Disconnected = 5,
};

/// The queries of the telephony library, which need no connection to the server.
class Telephony {
 public:
  virtual ~Telephony() = default;

  /// One call, as it was when the list was copied.
  struct Call {
    std::int32_t status;  ///< a CallStatus, or a number that has no name
  };
  virtual std::int32_t currentCallCount() = 0;
  /// In the order in which the calls came, or nothing.
  virtual std::optional<std::vector<Call>> copyCurrentCalls() = 0;

  /// Raw strength in dBm, graded in percent, and bars. A value that is not known is left alone.
  virtual void signalStrength(std::int32_t& raw, std::int32_t& graded, std::int32_t& bars) = 0;

  /// kSimStatus (TelephonyNotifications.h) followed by a word, or nothing.
  virtual std::optional<std::string> simStatus() = 0;

  virtual bool dataAttached() = 0;
  virtual bool dataContextActive(std::int32_t context) = 0;
  /// kDataIndicatorPrefix followed by a word, or nothing.
  virtual std::optional<std::string> dataIndicator() = 0;
  /// kRegistrationStatusPrefix followed by a word, or nothing.
  virtual std::optional<std::string> registrationStatus() = 0;
  virtual std::optional<std::string> copyOperatorName() = 0;

  /// The radio preferences, read anew: true while airplane mode is on.
  virtual bool airplaneMode() = 0;
};

}  // namespace zorva
