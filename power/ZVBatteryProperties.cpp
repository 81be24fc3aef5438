// SPDX-License-Identifier: Apache-2.0
#include "power/ZVBatteryProperties.h"

#include <cmath>
#include <limits>
#include <utility>

#include "core/ZorvaState.h"
#include "platform/base/Text.h"

namespace zorva {
namespace {

// In double precision. 0/0 is NaN, and some CPUs set its sign bit; clear it so that the log always
// shows "nan".
double percentOf(double part, double whole) {
  const double percent = part * 100.0 / whole;
  return std::isnan(percent) ? std::numeric_limits<double>::quiet_NaN() : percent;
}

}  // namespace

ZVBatteryProperties::ZVBatteryProperties(const Sources& sources)
    : ZVBatteryProperties(sources, sources.registry.firstPowerSource()) {}

ZVBatteryProperties::ZVBatteryProperties(const Sources& sources,
                                         std::shared_ptr<RegistryEntry> batteryEntry)
    : sources_(sources), batteryEntry_(std::move(batteryEntry)) {}

const Dictionary* ZVBatteryProperties::batteryProperties() {
  if (batteryProperties_.has_value()) return &*batteryProperties_;
  if (!batteryEntry_) return nullptr;
  Dictionary properties;
  const RegistryResult result = batteryEntry_->readProperties(properties);
  if (result != kRegistrySuccess) {
    sources_.systemLog.write(formatText("Unable to get properties for battery (0x%08x)", result));
    return nullptr;
  }
  batteryProperties_ = std::move(properties);
  return &*batteryProperties_;
}

Value ZVBatteryProperties::propertyForKey(const std::string& key) {
  const Dictionary* properties = batteryProperties();
  return properties != nullptr ? (*properties)[key] : Value();
}

bool ZVBatteryProperties::fullyCharged() {
  return propertyForKey("FullyCharged").boolean();
}

bool ZVBatteryProperties::isCharging() {
  return propertyForKey("IsCharging").boolean();
}

bool ZVBatteryProperties::isCritical() {
  return propertyForKey("AtCriticalLevel").boolean();
}

bool ZVBatteryProperties::draining() {
  return !isCharging() && !fullyCharged();
}

std::int32_t ZVBatteryProperties::current() {
  return propertyForKey("InstantAmperage").integer32();
}

std::int32_t ZVBatteryProperties::chargingCurrent() {
  return propertyForKey("Amperage").integer32();
}

std::int32_t ZVBatteryProperties::designCapacity() {
  return propertyForKey("DesignCapacity").integer32();
}

std::int32_t ZVBatteryProperties::cycleCount() {
  return propertyForKey("CycleCount").integer32();
}

std::int32_t ZVBatteryProperties::batteryTemp() {
  return propertyForKey("Temperature").integer32();
}

double ZVBatteryProperties::maxCapacity() {
  return propertyForKey("MaxCapacity").real();
}

double ZVBatteryProperties::capacity() {
  const double current = propertyForKey("CurrentCapacity").real();
  return percentOf(current, maxCapacity());
}

std::int32_t ZVBatteryProperties::rawMaxCapacity() {
  return propertyForKey("VennorRawMaxCapacity").integer32();
}

std::int32_t ZVBatteryProperties::rawCapacity() {
  const std::int32_t current = propertyForKey("VennorRawCurrentCapacity").integer32();
  const double percent = percentOf(current, rawMaxCapacity());
  return std::isfinite(percent) ? Value(std::round(percent)).integer32() : 0;
}

std::int32_t ZVBatteryProperties::voltage() {
  const char* key = gasGaugeEnabled() ? "Voltage" : "VennorRawBatteryVoltage";
  const Value voltage = batteryEntry_ ? batteryEntry_->readProperty(key) : Value();
  if (!voltage.isNothing()) return voltage.integer32();
  sources_.systemLog.write("Unable to look up battery voltage");
  return -1;
}

bool ZVBatteryProperties::gasGaugeEnabled() {
  std::optional<bool>& enabled = sZorvaContext.gasGaugeEnabled;
  if (!enabled.has_value()) {
    const Value answer = sources_.device.answer("gas-gauge-battery");
    enabled = answer.isBoolean() && answer.boolean();
  }
  return *enabled;
}

std::string ZVBatteryProperties::humanReadableChargingState() {
  if (isCharging()) return "Active";
  if (fullyCharged()) return "Full";
  const auto status = propertyForKey("ChargeStatus").text();
  if (!status.has_value()) return "Inactive";
  if (*status == "HighTemperature") return "OverTemp";
  if (*status == "LowTemperature") return "UnderTemp";
  if (*status == "BatteryTemperatureGradient") return "Gradient";
  return *status;
}

std::uint32_t wholePercent(double capacity) {
  if (!std::isfinite(capacity) || capacity < 0.0) return 0;
  constexpr auto kMax = std::numeric_limits<std::uint32_t>::max();
  if (capacity >= static_cast<double>(kMax)) return kMax;
  return static_cast<std::uint32_t>(capacity);
}

}  // namespace zorva
