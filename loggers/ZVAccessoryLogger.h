// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "core/ZVLogger.h"
#include "platform/accessories/AccessoryManager.h"

namespace zorva {

/// Logs each accessory that is connected or disconnected, and at a snapshot all connected ones:
///
///     11/16/26 14:07:16 [Accessory] connected=yes; connection_id=bee; mfg=Example; name=Dock;
///     model=D1; serial=0042; firmware=1.0; hardware=2.1; protocols=alpha beta;
///
/// An empty text is shown as "<unknown>", a missing one as "(null)".
class ZVAccessoryLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVAccessoryLogger> logger(const Services& services,
                                                   AccessoryManager& accessories);

  void log() override;
  void accessoryEvent(const Accessory& accessory) { logAccessory(accessory); }
  void logAccessory(const Accessory& accessory);

 private:
  ZVAccessoryLogger(const Services& services, AccessoryManager& accessories);

  AccessoryManager& accessories_;
  Registration registered_;
};

}  // namespace zorva
