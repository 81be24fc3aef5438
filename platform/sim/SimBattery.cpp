#include "platform/sim/SimBattery.h"

#include <cmath>

namespace zorva {

SimBattery::SimBattery(SimRegistryEntry& entry) : entry_(entry) {
  set("DesignCapacity", 1420);
  set("CycleCount", 52);
  set("VennorRawMaxCapacity", 1400);
  setMaxCapacity(1400);
  setCurrent(-180);
  setChargingCurrent(-180);
  setVoltage(3921);
  setTemperature(29.5);
  setCharging(false);
  setFullyCharged(false);
  setCritical(false);
}

void SimBattery::setLevel(double percent) {
  level_ = percent;
  const double maximum = entry_.properties()["MaxCapacity"].real();
  const double rawMaximum = entry_.properties()["VennorRawMaxCapacity"].real();
  const double capacity = maximum * percent / 100.0;
  // Whole figures stay integers, the way a gauge counts mAh.
  const double rounded = std::round(capacity);
  set("CurrentCapacity", std::abs(capacity - rounded) < 1e-9
                             ? Value(static_cast<std::int64_t>(rounded))
                             : Value(capacity));
  set("VennorRawCurrentCapacity",
      static_cast<std::int64_t>(std::llround(rawMaximum * percent / 100.0)));
}

void SimBattery::setMaxCapacity(std::int64_t capacity) {
  set("MaxCapacity", capacity);
  setLevel(level_);
}

void SimBattery::setVoltage(std::int64_t voltage) {
  set("Voltage", voltage);
  set("VennorRawBatteryVoltage", voltage);
}

void SimBattery::setTemperature(double degrees) {
  set("Temperature", static_cast<std::int64_t>(std::llround(degrees * 100.0)));
}

void SimBattery::setChargeStatus(const std::optional<std::string>& status) {
  set("ChargeStatus", status ? Value(*status) : Value());
}

}  // namespace zorva
