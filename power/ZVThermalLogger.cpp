// SPDX-License-Identifier: Apache-2.0
#include "power/ZVThermalLogger.h"

#include "platform/base/Text.h"

namespace zorva {

std::unique_ptr<ZVThermalLogger> ZVThermalLogger::logger(const Services& services,
                                                         Thermal& thermal) {
  return std::unique_ptr<ZVThermalLogger>(new ZVThermalLogger(services, thermal));
}

ZVThermalLogger::ZVThermalLogger(const Services& services, Thermal& thermal)
    : ZVLogger(services), thermal_(thermal) {
  registerCallbackForOstrelNotification(
      [](ZVLogger& observer, std::string_view) { observer.log(); }, kThermalLevelChanged);
}

void ZVThermalLogger::log() {
  std::string body = formatText(" level=%d;", thermal_.level());
  for (std::size_t index = 0; index < kThermalSensorValues.size(); ++index) {
    const auto state = services().systemNotifications.state(kThermalSensorValues[index]);
    if (!state) continue;
    for (int reading = 0; reading < kThermalReadingsPerState; ++reading) {
      const auto hundredths = static_cast<unsigned>(*state >> (16 * reading) & 0xFFFF);
      const auto degrees = static_cast<float>(hundredths / 100.0);
      if (degrees > 1.0 && degrees < 320.0) {
        body += formatText(" s%d.%d=%0.2f;", static_cast<int>(index), reading,
                           static_cast<double>(degrees));
      }
    }
  }
  logEntryWithBody("Thermal", body);
}

}  // namespace zorva
