// SPDX-License-Identifier: Apache-2.0
#include "platform/thermal/linux/Throttling.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/base/Text.h"
#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

constexpr std::string_view kZone = "thermal_zone";

// The number after the prefix; nothing when there is no such name.
std::optional<std::int32_t> numberAfter(std::string_view prefix, std::string_view name) {
  if (!name.starts_with(prefix)) return std::nullopt;
  const auto number = parseNumber<std::int32_t>(name.substr(prefix.size()));
  return number && *number >= 0 ? number : std::nullopt;
}

// The cooling device is bound to a temperature of the zone from which on the device has to do less.
// Fans have trip points of another kind, and a device that is bound to none (a backlight that is
// cooler when it is dark) has a state that says nothing about heat.
bool throttles(const std::string& zone, const std::string& device) {
  const auto trip = readNumber(zone + "/" + device + "_trip_point");
  return trip && *trip >= 0 &&
         readAttribute(zone + "/trip_point_" + std::to_string(*trip) + "_type") == "passive";
}

std::int64_t readState(const std::string& device) {
  return readNumber(device + "/cur_state").value_or(0);
}

// The zone's entry of a device is a link to the device's own.
std::string nameOfDevice(const std::string& entry) {
  std::error_code error;
  const std::string name = std::filesystem::read_symlink(entry, error).filename().string();
  return error ? entry : name;
}

}  // namespace

void Throttling::readAll() {
  zones_.clear();
  devices_.clear();
  for (const std::string& name : entryNames(directory_)) {
    const auto number = numberAfter(kZone, name);
    if (!number) continue;
    const std::string zone = directory_ + "/" + name;
    for (const std::string& entry : entryNames(zone)) {
      if (!numberAfter("cdev", entry) || !throttles(zone, entry)) continue;
      const std::string path = zone + "/" + entry;
      const auto [device, isNew] = devices_.try_emplace(nameOfDevice(path));
      if (isNew) device->second = {readState(path), readNumber(path + "/max_state").value_or(0)};
      zones_[*number].emplace_back(path, device);
    }
  }
}

void Throttling::apply(const ThermalChanges& changes) {
  for (const std::int32_t zone : changes.zones) {
    const auto found = zones_.find(zone);
    if (found == zones_.end()) continue;
    for (const auto& [path, device] : found->second) device->second.state = readState(path);
  }
  for (const auto& [number, state] : changes.states) {
    const auto device = devices_.find("cooling_device" + std::to_string(number));
    if (device != devices_.end()) device->second.state = state;
  }
}

std::int32_t Throttling::level() const {
  std::int32_t level = 0;
  for (const auto& [name, device] : devices_) {
    if (device.state <= 0 || device.most <= 0) continue;
    const double share = static_cast<double>(device.state) / static_cast<double>(device.most);
    level = std::max(level, static_cast<std::int32_t>(std::ceil(std::min(share, 1.0) * 100)));
  }
  return level;
}

}  // namespace zorva
