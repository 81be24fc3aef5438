// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "core/ZVLogger.h"

namespace zorva {

/// Logs each ping that the cloud account service sends and each notification that it receives:
/// every one of them wakes the radio. Has no snapshot.
///
///     11/16/26 14:07:16 [Skyvault Event] type=inbox_notification;
class ZVSkyvaultLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVSkyvaultLogger> logger(const Services& services);

 private:
  explicit ZVSkyvaultLogger(const Services& services);
};

}  // namespace zorva
