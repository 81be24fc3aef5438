// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/base/Observers.h"
#include "platform/kit/loop/DeviceEvents.h"
#include "platform/registry/DeviceRegistry.h"

namespace zorva {

/// The messages of this machine's registry entries, on the event loop.
class LinuxNotificationPort : public RegistryNotificationPort {
 public:
  /// The event loop must outlive the port.
  explicit LinuxNotificationPort(sd_event* event);

  bool addToRunLoop() override;
  RegistryResult addInterest(const std::shared_ptr<RegistryEntry>& entry, Handler handler,
                             Registration& interest) override;

 private:
  sd_event* event_;
  std::map<std::string, Observers<const DeviceEvent&>> interests_;   // by subsystem
  std::shared_ptr<bool> onRunLoop_ = std::make_shared<bool>(false);  // ends with the port
  DeviceEvents events_;
};

}  // namespace zorva
