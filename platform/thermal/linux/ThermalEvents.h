// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <span>
#include <systemd/sd-event.h>

#include "platform/base/Descriptor.h"
#include "platform/kit/loop/EventSources.h"

namespace zorva {

/// What the kernel's events say of the throttling.
struct ThermalChanges {
  bool anything = false;                        ///< zones or devices came or went, or it is unknown
  std::set<std::int32_t> zones;                 ///< whose devices may have another state
  std::map<std::int32_t, std::int64_t> states;  ///< of cooling devices, by their number
  bool any() const { return anything || !zones.empty() || !states.empty(); }
};

/// Adds what the generic netlink messages in the buffer say. `family` is the number of the kernel's
/// thermal family. The buffer is aligned as messages are; anything else it holds, cut off or not,
/// says nothing.
void readThermalEvents(std::span<const std::uint8_t> messages, int family, ThermalChanges& changes);

/// Lets the kernel drop the messages that say nothing of the throttling before they wake the
/// process: temperatures, capabilities of processors, which come every second under load. A netlink
/// socket without it receives them all.
bool dropOtherThermalEvents(int socket);

/// The events of the kernel's thermal subsystem.
///
/// Only the kernel and a process with the right to administer the network can send to its socket,
/// and all that a message does is to change the level until it is read again.
class ThermalEvents {
 public:
  using Handler = std::function<void(const ThermalChanges& changes)>;

  /// Calls back from the loop with what came at a time. Lost events may have been anything. On a
  /// kernel without such events (before 5.9, or in another network namespace than the first) it
  /// never does.
  ThermalEvents(sd_event* event, Handler changed);
  ThermalEvents(const ThermalEvents&) = delete;  // the loop holds its address
  ThermalEvents& operator=(const ThermalEvents&) = delete;

  /// The socket, or -1 when there are no events.
  int descriptor() const { return socket_.get(); }
  /// The number of the thermal family, where there are events.
  int family() const { return family_; }

 private:
  void receive();

  Handler changed_;
  Descriptor socket_;
  int family_ = 0;
  EventSource readable_;  // goes before its socket
};

}  // namespace zorva
