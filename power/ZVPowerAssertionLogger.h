// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/ZVLogger.h"
#include "platform/assertions/PowerManagement.h"
#include "platform/processes/ProcessTable.h"

namespace zorva {

/// Logs which processes keep the device awake: one entry per power assertion held, at each
/// snapshot.
///
///     11/16/26 14:07:16 [Assertion] state=held; process=player; pid=412; name=audio;
///     held_for=00:03:10;
class ZVPowerAssertionLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVPowerAssertionLogger> logger(const Services& services,
                                                        PowerManagement& power,
                                                        ProcessTable& processes);

  /// The assertions held now, each record with its process's name under
  /// "ZVAssertionProcessNameKey". Empty if there are none, or if the query fails, which also writes
  /// an error entry.
  std::vector<Dictionary> currentAssertions();

  /// The short command name of the process, or nothing.
  std::optional<std::string> nameForPID(std::int32_t process);

  /// Writes one entry; the state is "held", "created" or "released".
  void logAssertionWithState(const Dictionary& assertion, const char* state);

  void log() override;

 protected:
  ZVPowerAssertionLogger(const Services& services, PowerManagement& power, ProcessTable& processes);

 private:
  PowerManagement& power_;
  ProcessTable& processes_;
};

}  // namespace zorva
