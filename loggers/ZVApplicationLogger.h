// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/ZVLogger.h"
#include "platform/applications/ApplicationStates.h"

namespace zorva {

/// Logs each change of an application's state, and at a snapshot the active applications, for which
/// no reasons are known:
///
///     11/16/26 14:07:16 [Application] id=com.example.player; pid=88; mode=background;
///     reason=audio;
///
/// Modes and reasons are the home-screen process's own words.
class ZVApplicationLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVApplicationLogger> logger(const Services& services,
                                                     ApplicationStates& applications);
  ~ZVApplicationLogger() override;

  void log() override;

  void appStateChanged(const ApplicationStateChange& change);

  /// Queries the home-screen process for a process id or state that is not given.
  void logStateForDisplayIDPidStringAndStateWithReasons(
      const std::optional<std::string>& displayID, const std::optional<std::string>& pidString,
      std::optional<std::int32_t> state, const std::optional<std::vector<std::int32_t>>& reasons);

 private:
  ZVApplicationLogger(const Services& services, ApplicationStates& applications);

  ApplicationStates& applications_;
};

}  // namespace zorva
