// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>

#include "core/ZVLogger.h"
#include "platform/traffic/NetworkInterfaces.h"

namespace zorva {

/// Logs each interface's traffic since it came up, and the total since the last entry, received
/// before sent:
///
///     11/16/26 14:07:16 [Network] TotalSinceLastCheck=1.5K/0.5K; TimeSinceLastCheck=60s;
///     en0=123456b/7890b;
///
/// The interfaces' counters wrap at 32 bits; if one wraps or an interface disappears, the total is
/// negative.
class ZVNetworkLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVNetworkLogger> logger(const Services& services,
                                                 NetworkInterfaces& interfaces);

  void log() override;

 private:
  ZVNetworkLogger(const Services& services, NetworkInterfaces& interfaces);

  NetworkInterfaces& interfaces_;
  std::int32_t prevTime_;  ///< seconds since the epoch
  double prevNetworkTrafficIn_ = 0.0;
  double prevNetworkTrafficOut_ = 0.0;
};

}  // namespace zorva
