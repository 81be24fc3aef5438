// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "platform/registry/sim/SimDeviceRegistry.h"

namespace zorva {

/// The display's backlight, as the registry's entry shows it. Setting something notifies no
/// observer: announce() sends its message.
class SimBacklight {
 public:
  /// One at 120 of 0 to 255.
  SimBacklight(SimParts& parts, SimRegistryEntry& entry);

  /// In the backlight's own units; 0 is dark.
  void setBrightness(std::int64_t brightness) { set(brightness_, brightness); }
  std::int64_t brightness() const { return brightness_; }
  void setMinimum(std::int64_t minimum) { set(minimum_, minimum); }
  void setMaximum(std::int64_t maximum) { set(maximum_, maximum); }

  /// False takes it out of the device.
  void setPresent(bool present) { entry_.setPresent(present); }

  /// Sends the message that the brightness is a new one, or one of another type; it carries the
  /// brightness.
  void announce(std::uint32_t messageType = kPropertyChanged) {
    entry_.send(messageType, brightness_);
  }

  SimRegistryEntry& entry() { return entry_; }

 private:
  void set(std::int64_t& figure, std::int64_t value);
  std::vector<ScenarioNode::Key> readers();
  ScenarioAction readStep(const ScenarioNode& node);

  SimRegistryEntry& entry_;
  std::int64_t brightness_ = 120;
  std::int64_t minimum_ = 0;
  std::int64_t maximum_ = 255;
};

}  // namespace zorva
