// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/kit/loop/DeviceEvents.h"
#include "platform/registry/DeviceRegistry.h"

namespace zorva {

/// An entry of this machine's registry: a device, or several that are one to the registry.
class LinuxRegistryEntry : public RegistryEntry {
 public:
  /// Receives a message of the entry. May destroy the watch that calls it.
  using Report = std::function<void(std::uint32_t messageType, const Value& argument)>;

  /// What looks out for an entry's messages, for one interest.
  class Watch {
   public:
    virtual ~Watch() = default;
    /// A device of the entry's class has changed, has come or has gone.
    virtual void deviceChanged(const DeviceEvent& event) = 0;
  };

  /// The kernel's class whose events the entry's watches have to hear of.
  virtual const char* subsystem() const = 0;

  /// The watch reports from the event loop until it is dropped; what it finds when it is made is
  /// not reported. It must not outlive the entry.
  virtual std::unique_ptr<Watch> watch(sd_event* event, Report report) = 0;
};

}  // namespace zorva
