// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVAccessoryLogger.h"

#include <string>

#include "platform/base/Text.h"

namespace zorva {
namespace {

std::string shown(const std::optional<std::string>& text) {
  return text == "" ? "<unknown>" : safeText(textOrNull(text));
}

}  // namespace

std::unique_ptr<ZVAccessoryLogger> ZVAccessoryLogger::logger(const Services& services,
                                                             AccessoryManager& accessories) {
  return std::unique_ptr<ZVAccessoryLogger>(new ZVAccessoryLogger(services, accessories));
}

ZVAccessoryLogger::ZVAccessoryLogger(const Services& services, AccessoryManager& accessories)
    : ZVLogger(services), accessories_(accessories) {
  const auto event = [this](const Accessory& accessory) { accessoryEvent(accessory); };
  keep(accessories.observeConnected(event));
  keep(accessories.observeDisconnected(event));
  registered_ = accessories.registerForLocalNotifications();
}

void ZVAccessoryLogger::log() {
  for (const Accessory& accessory : accessories_.connectedAccessories()) logAccessory(accessory);
}

void ZVAccessoryLogger::logAccessory(const Accessory& accessory) {
  std::string body = formatText(" connected=%s;", yesOrNo(accessory.connected));
  body += formatText(" connection_id=%x;", accessory.connectionIdentifier);
  body += formatText(" mfg=%s;", shown(accessory.manufacturer).c_str());
  body += formatText(" name=%s;", shown(accessory.name).c_str());
  body += formatText(" model=%s;", shown(accessory.modelNumber).c_str());
  body += formatText(" serial=%s;", shown(accessory.serialNumber).c_str());
  body += formatText(" firmware=%s;", shown(accessory.firmwareRevision).c_str());
  body += formatText(" hardware=%s;", shown(accessory.hardwareRevision).c_str());

  std::string protocols;
  bool any = false;
  const char* separator = "";
  for (const std::string& protocol : accessory.protocols) {
    protocols += separator + safeText(protocol);
    any = any || !protocol.empty();
    separator = " ";
  }
  body += formatText(" protocols=%s;", any ? protocols.c_str() : "<unknown>");
  logEntryWithBody("Accessory", body);
}

}  // namespace zorva
