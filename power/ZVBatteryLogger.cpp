// SPDX-License-Identifier: Apache-2.0
#include "power/ZVBatteryLogger.h"

#include <utility>

#include "core/BatteryNotifications.h"
#include "core/Preferences.h"
#include "platform/base/Text.h"

namespace zorva {

std::unique_ptr<ZVBatteryLogger> ZVBatteryLogger::logger(
    const Services& services, const ZVBatteryProperties::Sources& sources, BatteryUsage& usage,
    PreferencesStore& preferences) {
  std::unique_ptr<ZVBatteryLogger> made(new ZVBatteryLogger(services, sources, usage, preferences));
  return made->subscribe() ? std::move(made) : nullptr;
}

ZVBatteryLogger::ZVBatteryLogger(const Services& services,
                                 const ZVBatteryProperties::Sources& sources, BatteryUsage& usage,
                                 PreferencesStore& preferences)
    : ZVLogger(services), sources_(sources), usage_(usage), preferences_(preferences) {}

bool ZVBatteryLogger::subscribe() {
  ioNotifyPort_ = sources_.registry.makeNotificationPort();
  if (!ioNotifyPort_ || !ioNotifyPort_->addToRunLoop()) {
    logError("Unable to get a run loop source for battery notifications");
    return false;
  }
  batteryEntry_ = sources_.registry.firstPowerSource();
  const RegistryResult result = ioNotifyPort_->addInterest(
      batteryEntry_,
      [this](const std::shared_ptr<RegistryEntry>& service, std::uint32_t messageType,
             const Value&) {
        if (messageType != kBatteryStatusChanged) return;
        batteryStatusChanged(std::make_shared<ZVBatteryProperties>(sources_, service));
      },
      notificationRef_);
  if (result != kRegistrySuccess) {
    logError("Error calling IOServiceAddInterestNotification (0x%08x)", result);
    return false;
  }
  lastBatteryLevel_ = wholePercent(ZVBatteryProperties(sources_, batteryEntry_).capacity());
  lastBatteryLevelChangeDate_ = now();
  return true;
}

void ZVBatteryLogger::log() {
  ZVBatteryProperties properties(sources_, batteryEntry_);
  logBatteryProperties(properties);
}

void ZVBatteryLogger::logBatteryProperties(ZVBatteryProperties& properties) {
  const bool gasGauge = properties.gasGaugeEnabled();
  float usage = 0.0F;
  float standby = 0.0F;
  getUsageAndStandbyTime(usage, standby);

  std::string body = formatText(" level=%.2f%%;", properties.capacity());
  body += formatText(" voltage=%d mV;", properties.voltage());
  if (gasGauge) {
    body += formatText(" current=%d mA;", properties.current());
    body += formatText(" max_capacity=%.0f;", properties.maxCapacity());
  } else {
    body += formatText(" current=%s;", "<unknown>");
    body += formatText(" max_capacity=%s;", "<unknown>");
  }
  body +=
      formatText(" charging_state=%s;", safeText(properties.humanReadableChargingState()).c_str());
  body += formatText(" charging_current=%d mA;", properties.chargingCurrent());
  body += formatText(" battery_temp=%.2f C;", properties.batteryTemp() / 100.0);
  body += formatText(" usage=%s;", timeOrUnknown(usage).c_str());
  body += formatText(" standby=%s;", timeOrUnknown(standby).c_str());
  logEntryWithBody("Battery", body);
}

void ZVBatteryLogger::batteryStatusChanged(const std::shared_ptr<ZVBatteryProperties>& properties) {
  const UserInformation userInformation{{kBatteryStatusProperties, properties}};
  notifications().post(kBatteryStatusDidChange, this, userInformation);
  logBatteryProperties(*properties);

  const std::uint32_t level = wholePercent(properties->capacity());
  if (level != lastBatteryLevel_) {
    lastBatteryLevel_ = level;
    lastBatteryLevelChangeDate_ = now();
    notifications().post(kBatteryLevelDidChange, this, userInformation);
    return;
  }
  const double elapsed = secondsBetween(lastBatteryLevelChangeDate_, now());
  if (elapsed > secondsBeforeSignificantTimeTriggered()) {
    lastBatteryLevelChangeDate_ = now();
    notifications().post(kBatteryLevelDidNotChangeForSignificantTime, this, userInformation);
  }
}

void ZVBatteryLogger::getUsageAndStandbyTime(float& usage, float& standby) {
  const auto times = usage_.times().value_or(BatteryUsage::Times{-1.0F, -1.0F});
  usage = times.usage;
  standby = times.standby;
}

double ZVBatteryLogger::secondsBeforeSignificantTimeTriggered() {
  return CopyPreferenceValue(preferences_, kSecondsBeforeSignificantTimeTriggered).real();
}

std::string ZVBatteryLogger::timeOrUnknown(float seconds) const {
  return seconds < 0.0F ? "<unknown>" : formatTimeInSeconds(seconds);
}

}  // namespace zorva
