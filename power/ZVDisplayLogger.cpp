// SPDX-License-Identifier: Apache-2.0
#include "power/ZVDisplayLogger.h"

#include <utility>

#include "platform/base/Text.h"

namespace zorva {

std::unique_ptr<ZVDisplayLogger> ZVDisplayLogger::logger(const Services& services,
                                                         DeviceRegistry& registry) {
  std::unique_ptr<ZVDisplayLogger> made(new ZVDisplayLogger(services, registry));
  return made->subscribe() ? std::move(made) : nullptr;
}

ZVDisplayLogger::ZVDisplayLogger(const Services& services, DeviceRegistry& registry)
    : ZVLogger(services), registry_(registry) {}

bool ZVDisplayLogger::subscribe() {
  ioNotifyPort_ = registry_.makeNotificationPort();
  if (!ioNotifyPort_ || !ioNotifyPort_->addToRunLoop()) {
    writeToSystemLog("No run loop source for the backlight's messages");
    return false;
  }
  backlightService_ = registry_.firstServiceWith("backlight-control");
  const RegistryResult result = ioNotifyPort_->addInterest(
      backlightService_,
      [this](const std::shared_ptr<RegistryEntry>&, std::uint32_t messageType,
             const Value& brightness) {
        if (messageType != kPropertyChanged) return;
        setCurrentBrightness(brightness.integer());
        log();
      },
      notificationRef_);
  if (result != kRegistrySuccess) {
    logError("Error calling IOServiceAddInterestNotification (0x%08x)", result);
    return false;
  }
  // After the subscription, so that no change in between is missed.
  setCurrentBrightness(brightnessParameters().value_or(Dictionary())["value"].integer());
  return true;
}

void ZVDisplayLogger::log() {
  const Dictionary parameters = brightnessParameters().value_or(Dictionary());
  std::string body = formatText(" brightness=%ld;", currentBrightness());
  body += formatText(" min=%ld;", static_cast<long>(parameters["min"].integer()));
  body += formatText(" max=%ld;", static_cast<long>(parameters["max"].integer()));
  body += formatText(" active=%s;", yesOrNo(currentBrightness() != 0));
  logEntryWithBody("Display", body);
}

std::optional<Dictionary> ZVDisplayLogger::brightnessParameters() {
  const Value display = backlightService_->readProperty("IODisplayParameters");
  const Dictionary* const parameters = display.dictionary();
  if (parameters == nullptr) return std::nullopt;
  const Dictionary* const brightness = (*parameters)["brightness"].dictionary();
  return brightness ? std::optional(*brightness) : std::nullopt;
}

}  // namespace zorva
