// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <systemd/sd-event.h>
#include <vector>

#include "platform/base/Registration.h"
#include "platform/kit/loop/DeviceEvents.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/notifications/NotificationCentre.h"
#include "platform/thermal/Thermal.h"
#include "platform/thermal/linux/ThermalEvents.h"
#include "platform/thermal/linux/Throttling.h"

namespace zorva {

/// The kernel's thermal class: the zones' temperatures as the states of the sensors' notifications,
/// and the throttling of the cooling devices as the level. docs/linux-display-thermal.md says what
/// each figure means. Everything is read from the kernel at the moment of the call; between calls
/// its events say what has changed.
class LinuxThermal : public Thermal {
 public:
  static constexpr const char* kThermalClass = "/sys/class/thermal";

  /// Makes `source` the answer to the state of the notification until the registration is dropped.
  using ProvideState = std::function<Registration(
      const std::string& notification, std::function<std::optional<std::uint64_t>()> source)>;

  /// The loop and the notifications must outlive it.
  LinuxThermal(sd_event* event, NotificationCentre& notifications, const ProvideState& provideState,
               std::string directory = kThermalClass);

  /// 0 to 100: how far the device that is throttled most is throttled because a zone is hot, in
  /// percent of what it can be, rounded up. 0 where there is nothing that could be.
  ///
  /// The first call begins to listen to the kernel's events, so that nothing wakes a process that
  /// never asks.
  std::int32_t level() override;

  /// Whether it receives the kernel's events of throttling. Where nothing throttles it does not: on
  /// some processors the kernel has their firmware measure for whoever receives them. What comes
  /// later is announced by the device manager.
  bool receivesEvents() const { return events_ && events_->descriptor() >= 0; }

 private:
  std::uint64_t sensorState(std::size_t index) const;
  void readAll();
  void eventsCame(const ThermalChanges& changes);
  void deviceChanged(const DeviceEvent& event);
  void reportChange();

  sd_event* event_;
  NotificationCentre& notifications_;
  std::string directory_;
  std::vector<Registration> states_;
  Throttling throttling_;
  ThermalChanges pending_;     ///< what the events said that came at a time
  std::int32_t reported_ = 0;  ///< the last level that anyone was answered, or heard of
  bool posting_ = false;       ///< it is being heard of, and nothing has changed since
  CoalescedCall changed_;
  std::optional<ThermalEvents> events_;
  bool listening_ = false;
  DeviceEvents deviceEvents_;
};

}  // namespace zorva
