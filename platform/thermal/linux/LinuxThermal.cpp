// SPDX-License-Identifier: Apache-2.0
#include "platform/thermal/linux/LinuxThermal.h"

#include <string_view>
#include <utility>

#include "platform/base/Text.h"
#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

// In hundredths of a degree; 0 for what a reading cannot hold.
std::uint64_t sensorReading(std::optional<std::int64_t> millidegrees) {
  if (!millidegrees || *millidegrees < 0 || *millidegrees > 655'350) return 0;
  return static_cast<std::uint64_t>(*millidegrees + 5) / 10;
}

}  // namespace

LinuxThermal::LinuxThermal(sd_event* event, NotificationCentre& notifications,
                           const ProvideState& provideState, std::string directory)
    : event_(event),
      notifications_(notifications),
      directory_(std::move(directory)),
      throttling_(directory_),
      changed_(event, [this] { reportChange(); }),
      deviceEvents_([this](const DeviceEvent& news) { deviceChanged(news); }) {
  deviceEvents_.listen("thermal");
  for (std::size_t index = 0; index < kThermalSensorValues.size(); ++index) {
    states_.push_back(
        provideState(kThermalSensorValues[index], [this, index] { return sensorState(index); }));
  }
}

std::int32_t LinuxThermal::level() {
  if (posting_) return reported_;
  if (!std::exchange(listening_, true)) deviceEvents_.attach(event_);
  readAll();
  return reported_ = throttling_.level();
}

// The events begin before the reading, so that no change falls between the two.
void LinuxThermal::readAll() {
  if (!events_) {
    events_.emplace(event_, [this](const ThermalChanges& changes) { eventsCame(changes); });
  }
  throttling_.readAll();
  pending_ = {};
  if (!throttling_.possible()) events_.reset();
}

std::uint64_t LinuxThermal::sensorState(std::size_t index) const {
  std::uint64_t state = 0;
  for (int reading = 0; reading < kThermalReadingsPerState; ++reading) {
    const std::string zone =
        directory_ + "/thermal_zone" +
        std::to_string(static_cast<int>(index) * kThermalReadingsPerState + reading);
    state |= sensorReading(readNumber(zone + "/temp")) << (16 * reading);
  }
  return state;
}

void LinuxThermal::eventsCame(const ThermalChanges& changes) {
  pending_.anything = pending_.anything || changes.anything;
  pending_.zones.insert(changes.zones.begin(), changes.zones.end());
  for (const auto& [device, state] : changes.states) pending_.states[device] = state;
  changed_.request();
}

// A zone has changed when a point was crossed under a governor that leaves the rest to a program.
void LinuxThermal::deviceChanged(const DeviceEvent& event) {
  constexpr std::string_view kZone = "thermal_zone";
  std::optional<std::int32_t> zone;
  if (const std::string name = event.name(); event.action == "change" && name.starts_with(kZone)) {
    zone = parseNumber<std::int32_t>(std::string_view(name).substr(kZone.size()));
  }
  if (zone) {
    pending_.zones.insert(*zone);
  } else {
    pending_.anything = true;
  }
  changed_.request();
}

void LinuxThermal::reportChange() {
  if (pending_.anything) {
    readAll();
  } else {
    throttling_.apply(std::exchange(pending_, {}));
  }
  const std::int32_t now = throttling_.level();
  if (std::exchange(reported_, now) == now) return;
  posting_ = true;
  notifications_.post(kThermalLevelChanged);
  posting_ = false;
}

}  // namespace zorva
