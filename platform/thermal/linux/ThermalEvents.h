// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <systemd/sd-event.h>

#include "platform/base/Descriptor.h"
#include "platform/kit/loop/EventSources.h"

namespace zorva {

/// Whether one of the generic netlink messages in the buffer is an event after which the thermal
/// level may be another one: a cooling device changed its state, a trip point was crossed, a zone
/// came, went or was switched. `family` is the number of the kernel's thermal family. The buffer is
/// aligned as messages are; anything else it holds, cut off or not, is no event.
bool thermalLevelMayHaveChanged(std::span<const std::uint8_t> messages, int family);

/// The events of the kernel's thermal subsystem.
///
/// Only the kernel and a process with the right to administer the network can send to its socket,
/// and all that a message does is to have the level read again.
class ThermalEvents {
 public:
  /// Calls back from the loop when the level may have changed; also when events were lost. On a
  /// kernel without such events (before 5.9, or in another network namespace than the first) it
  /// never does.
  ThermalEvents(sd_event* event, std::function<void()> mayHaveChanged);
  ThermalEvents(const ThermalEvents&) = delete;  // the loop holds its address
  ThermalEvents& operator=(const ThermalEvents&) = delete;

  /// The socket, or -1 when there are no events.
  int descriptor() const { return socket_.get(); }
  /// The number of the thermal family, where there are events.
  int family() const { return family_; }

 private:
  void receive();

  std::function<void()> mayHaveChanged_;
  Descriptor socket_;
  int family_ = 0;
  EventSource readable_;  // goes before its socket
};

}  // namespace zorva
