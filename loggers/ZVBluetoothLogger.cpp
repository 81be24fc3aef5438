// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVBluetoothLogger.h"

#include <string>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::int32_t kMinInterval = 60;  // seconds between entries

}  // namespace

std::unique_ptr<ZVBluetoothLogger> ZVBluetoothLogger::logger(const Services& services,
                                                             BluetoothServer& server,
                                                             RunLoop& runLoop) {
  return std::unique_ptr<ZVBluetoothLogger>(new ZVBluetoothLogger(services, server, runLoop));
}

ZVBluetoothLogger::ZVBluetoothLogger(const Services& services, BluetoothServer& server,
                                     RunLoop& runLoop)
    : ZVLogger(services), server_(server), runLoop_(runLoop), lastLogTime_(time()) {
  attachSession();
}

ZVBluetoothLogger::~ZVBluetoothLogger() {
  detachSession();
}

std::int32_t ZVBluetoothLogger::time() const {
  return static_cast<std::int32_t>(secondsSinceEpoch(now()));
}

void ZVBluetoothLogger::log() {
  if (session_ == 0) return;
  const std::int32_t nowTime = time();
  // Unsigned, so that the difference is right when 32-bit time wraps.
  const auto elapsed = static_cast<std::int32_t>(static_cast<std::uint32_t>(nowTime) -
                                                 static_cast<std::uint32_t>(lastLogTime_));
  if (elapsed < kMinInterval) return;

  std::string body = " state=not present;";
  if (bluetoothPresent()) body = formatText(" state=%s;", onOrOff(modulePowered()));
  body += formatText(" runvo=%s;", onOrOff(runvoPowered()));
  body += formatText(" fm=%s;", onOrOff(fmPowered()));
  body += formatText(" discoverable=%s;", yesOrNo(isDiscoverable()));
  body += formatText(" connectable=%s;", yesOrNo(isConnectable()));
  body += formatText(" connected=%s;", yesOrNo(isConnected()));
  std::uint32_t consumption = 0;
  const BluetoothServer::Status error =
      server_.readPowerConsumption(localBluetoothDevice(), consumption);
  body +=
      formatText(" power_consumption=%u; power_err=%d; power_time=%ld; power_consumption_rate=%ld;",
                 consumption, error, long{elapsed},
                 static_cast<long>(consumption / static_cast<std::uint32_t>(elapsed)));
  lastLogTime_ = nowTime;
  logEntryWithBody("Bluetooth", body);
}

void ZVBluetoothLogger::attachSession() {
  keepSessionAlive_ = true;
  if (session_ != 0) return;
  const BluetoothServer::Status status = server_.attachSession(
      "Zorva",
      [this](BluetoothServer::Session session, std::int32_t event, BluetoothServer::Status result) {
        handleSessionEvent(session, event, result);
      },
      sessionCallbacks_);
  if (status != 0) {
    logError("Could not attach the Bluetooth session. (error: %d)", status);
    return;
  }
  // A second subscription would write nothing new, so subscribe only once.
  if (observesBatteryLevel_) return;
  observesBatteryLevel_ = true;
  logOnBatteryLevel();
}

void ZVBluetoothLogger::detachSession() {
  keepSessionAlive_ = false;
  if (session_ == 0) return;
  const BluetoothServer::Status status = server_.detachSession(session_);
  if (status != 0) logError("Could not detach the Bluetooth session. (error: %d)", status);
}

void ZVBluetoothLogger::handleSessionEvent(BluetoothServer::Session session, std::int32_t event,
                                           BluetoothServer::Status result) {
  switch (event) {
    case BluetoothServer::kSessionAttached:
      return sessionAttachedWithResult(session, result);
    case BluetoothServer::kSessionTerminated:
      return sessionTerminatedWithResult(session, result);
    default:
      writeToSystemLog(formatText("Unexpected Bluetooth session event. (event: %d)", event));
  }
}

void ZVBluetoothLogger::sessionAttachedWithResult(BluetoothServer::Session session,
                                                  BluetoothServer::Status result) {
  if (result != 0) {
    logError("Could not attach session. (error: %d)", result);
    return;
  }
  session_ = session;
  BluetoothServer::Status status = server_.addLocalDeviceCallbacks(
      localBluetoothDevice(), [this] { log(); }, deviceCallbacks_);
  if (status != 0) logError("Could not add local device callbacks. (error: %d)", status);
  status = server_.registerForPowerUpdates(
      localBluetoothDevice(), [this] { log(); }, powerUpdates_);
  if (status != 0) logError("Could not register for Power notifications. (error: %d)", status);
  lastLogTime_ = time();
}

void ZVBluetoothLogger::sessionTerminatedWithResult(BluetoothServer::Session,
                                                    BluetoothServer::Status) {
  session_ = 0;
  localBluetoothDevice_ = 0;
  if (!keepSessionAlive_) return;
  logError("Connection to Bluvane lost - attempting a reconnect in %d seconds", kReconnectDelay);
  const auto timer = reconnects_.emplace(reconnects_.end());
  *timer = runLoop_.startTimer(kReconnectDelay, [this, timer] {
    reconnects_.erase(timer);
    attachSession();
  });
}

BluetoothServer::Device ZVBluetoothLogger::localBluetoothDevice() {
  if (localBluetoothDevice_ != 0 || session_ == 0) return localBluetoothDevice_;
  const BluetoothServer::Status status =
      server_.defaultLocalDevice(session_, localBluetoothDevice_);
  if (status != 0 || localBluetoothDevice_ == 0) {
    logError("Bluetooth power ERROR: BTLocalDeviceGetDefault: failed! %d\n", status);
    localBluetoothDevice_ = 0;
  }
  return localBluetoothDevice_;
}

bool ZVBluetoothLogger::powered(BluetoothServer::Module module) {
  std::uint32_t state = 0;
  const auto status = server_.modulePower(localBluetoothDevice(), module, state);
  if (status != 0) {
    logError("Bluetooth power ERROR: BTLocalDeviceGetModulePower: failed! %d\n", status);
  }
  return state == BluetoothServer::kStateOn;
}

bool ZVBluetoothLogger::isDiscoverable() {
  std::uint32_t state = 0;
  const auto status = server_.discoverable(localBluetoothDevice(), state);
  if (status != 0) {
    logError("Bluetooth power ERROR: BTLocalDeviceGetDiscoverable: failed! %d\n", status);
  }
  return state == BluetoothServer::kStateOn;
}

bool ZVBluetoothLogger::isConnected() {
  std::uint32_t state = 0;
  const auto status = server_.connectionStatus(localBluetoothDevice(), state);
  if (status != 0) {
    logError("Bluetooth power ERROR: BTLocalDeviceGetConnectionStatus: failed! %d\n", status);
  }
  return state == BluetoothServer::kStateOn;
}

bool ZVBluetoothLogger::isConnectable() {
  std::uint32_t state = 0;
  const auto status = server_.connectable(localBluetoothDevice(), state);
  if (status != 0) {
    logError("Bluetooth power ERROR: BTLocalDeviceGetConnectable: failed! %d\n", status);
  }
  return state == BluetoothServer::kStateOn;
}

}  // namespace zorva
