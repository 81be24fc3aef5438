// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/LinuxNotificationPort.h"

#include <utility>

#include "platform/registry/linux/LinuxRegistryEntry.h"

namespace zorva {

LinuxNotificationPort::LinuxNotificationPort(sd_event* event)
    : event_(event), events_([this](const DeviceEvent& news) {
        interests_[std::string(news.subsystem)].notify(news);
      }) {}

bool LinuxNotificationPort::addToRunLoop() {
  *onRunLoop_ = *onRunLoop_ || events_.attach(event_);
  return *onRunLoop_;
}

RegistryResult LinuxNotificationPort::addInterest(const std::shared_ptr<RegistryEntry>& entry,
                                                  Handler handler, Registration& interest) {
  const auto device = std::dynamic_pointer_cast<LinuxRegistryEntry>(entry);
  if (!device) return kRegistryBadArgument;
  if (!events_.listen(device->subsystem())) return kRegistryNoDevice;
  auto report = [entry, handler = std::move(handler), port = std::weak_ptr(onRunLoop_)](
                    std::uint32_t messageType, const Value& argument) {
    const auto onRunLoop = port.lock();  // nothing when an earlier handler has ended the port
    if (onRunLoop && *onRunLoop) handler(entry, messageType, argument);
  };
  std::shared_ptr<LinuxRegistryEntry::Watch> watch = device->watch(event_, std::move(report));
  interest = interests_[device->subsystem()].add(
      [watch](const DeviceEvent& event) { watch->deviceChanged(event); });
  return kRegistrySuccess;
}

}  // namespace zorva
