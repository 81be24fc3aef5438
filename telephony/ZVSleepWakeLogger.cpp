// SPDX-License-Identifier: Apache-2.0
#include "telephony/ZVSleepWakeLogger.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "core/SleepNotifications.h"
#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::size_t kWakeReasonSize = 256;

std::string wakeBody(const std::string& reason, const std::string& info) {
  return formatText(" reason=%s;", reason.c_str()) + formatText(" info=%s;", info.c_str());
}

}  // namespace

std::unique_ptr<ZVSleepWakeLogger> ZVSleepWakeLogger::loggerWithConnection(
    const Services& services, TelephonyNotifications& notifications, const Connection& connection,
    const Sources& sources) {
  return initWithConnection(services, connection, [&] {
    return std::unique_ptr<ZVSleepWakeLogger>(
        new ZVSleepWakeLogger(services, notifications, connection, sources));
  });
}

ZVSleepWakeLogger::ZVSleepWakeLogger(const Services& services,
                                     TelephonyNotifications& notifications,
                                     const Connection& connection, const Sources& sources)
    : ZVTelephonyConnectedLogger(services, notifications, connection),
      sources_(sources),
      packetTracker_(std::make_unique<ZVPacketTracker>(services.notifications, services.systemLog,
                                                       sources.processes)) {
  SystemPower::Registered registered = sources_.power.registerForSystemPower(
      [this](std::uint32_t type, std::intptr_t argument) { handlePowerMessage(type, argument); });
  rootDomainConnect_ = registered.connection;
  systemPowerPortRef_ = std::move(registered.port);
  pmNotifier_ = registered.notifier;
  if (systemPowerPortRef_) pmSource_ = systemPowerPortRef_->addSourceToRunLoop();
}

ZVSleepWakeLogger::~ZVSleepWakeLogger() {
  pmSource_.reset();
  sources_.power.deregisterForSystemPower(pmNotifier_);
  systemPowerPortRef_.reset();
  sources_.power.closeConnection(rootDomainConnect_);
  rootDomainConnect_ = 0;
  packetTracker_.reset();
}

void ZVSleepWakeLogger::handlePowerMessage(std::uint32_t type, std::intptr_t argument) {
  switch (static_cast<PowerMessage>(type)) {
    case PowerMessage::CanSleep:
      logEntryWithBody("Sleep", " event=can_sleep;");
      sources_.power.allowPowerChange(rootDomainConnect_, argument);
      break;
    case PowerMessage::WillSleep:
      // Observers that must act before the sleep do so during the post.
      notifications().post(kDeviceWillSleep, this);
      logEntryWithBody("Sleep", " event=will_sleep;");
      sources_.power.allowPowerChange(rootDomainConnect_, argument);
      break;
    case PowerMessage::WillNotSleep:
      logEntryWithBody("Sleep", " event=will_not_sleep;");
      break;
    case PowerMessage::HasPoweredOn:
      logWake();
      notifications().post(kDeviceDidWake, this);
      break;
  }
}

void ZVSleepWakeLogger::logWake() {
  const std::string reason = wakeReason();
  if (!isBasebandWakeup(reason)) {
    logEntryWithBody("Wake", wakeBody(reason, "<none>"));
    return;
  }
  const auto command = telephonyConnection()->wakeCommand();
  const auto result = packetTracker_->analyzePacketType(command, ZVPacketTracker::kBasebandWake);
  logEntryWithBody("Wake", wakeBody(reason, safeText(textOrNull(command))));
  if (!result) return;
  for (const auto& [category, body] : *result) logEntryWithBody(category, body);
}

std::string ZVSleepWakeLogger::wakeReason() {
  std::array<char, kWakeReasonSize> buffer{};
  std::size_t filled = 0;
  const int error = sources_.kernel.read("kern.wakereason", buffer, filled);
  if (error != 0) {
    logError("Could not get wake reason (errno: %d)", error);
    return "<unknown>";
  }
  const auto end = std::find(buffer.begin(), buffer.end(), '\0');
  return safeText(trimmed(std::string_view(buffer.begin(), end)));
}

bool ZVSleepWakeLogger::isBasebandWakeup(const std::string& reason) {
  constexpr std::array<std::string_view, 4> kNames{"exton(bb)", "exton2(bb)", "radios", "baseband"};
  return std::any_of(kNames.begin(), kNames.end(),
                     [&](std::string_view name) { return reason.find(name) != std::string::npos; });
}

}  // namespace zorva
