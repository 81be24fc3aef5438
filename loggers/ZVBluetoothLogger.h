// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <list>
#include <memory>

#include "core/ZVLogger.h"
#include "platform/bluetooth/BluetoothServer.h"
#include "platform/loop/RunLoop.h"

namespace zorva {

/// Logs the power-relevant state of the Bluetooth controller and what it has used since the entry
/// before, in the server's own unit, at most once a minute:
///
///     11/16/26 14:07:16 [Bluetooth] state=on; runvo=off; fm=off; discoverable=no; connectable=yes;
///     connected=no; power_consumption=120; power_err=0; power_time=60; power_consumption_rate=2;
///
/// A session that the server ends is asked for again half a minute later; one that it refuses is
/// not. The error messages of the queries bring a newline of their own, so an empty line stands
/// below each of those entries.
class ZVBluetoothLogger : public ZVLogger {
 public:
  static constexpr int kReconnectDelay = 30;  ///< seconds

  static std::unique_ptr<ZVBluetoothLogger> logger(const Services& services,
                                                   BluetoothServer& server, RunLoop& runLoop);
  ~ZVBluetoothLogger() override;

  /// Nothing without a session, nor within 60 seconds of the attachment or the entry before.
  void log() override;

  void attachSession();
  void detachSession();
  void sessionAttachedWithResult(BluetoothServer::Session session, BluetoothServer::Status result);
  void sessionTerminatedWithResult(BluetoothServer::Session session,
                                   BluetoothServer::Status result);

  /// The controller, asked for until the server has one; 0 when there is none.
  BluetoothServer::Device localBluetoothDevice();

  /// Each costs an error entry when the server answers with an error, and is then false. Without a
  /// controller looking for it costs another one.
  bool bluetoothPresent() { return localBluetoothDevice() != 0; }
  bool modulePowered() { return powered(BluetoothServer::Module::Controller); }
  bool runvoPowered() { return powered(BluetoothServer::Module::Runvo); }
  bool fmPowered() { return powered(BluetoothServer::Module::FM); }
  bool isDiscoverable();
  bool isConnectable();
  bool isConnected();

 private:
  ZVBluetoothLogger(const Services& services, BluetoothServer& server, RunLoop& runLoop);

  std::int32_t time() const;
  void handleSessionEvent(BluetoothServer::Session session, std::int32_t event,
                          BluetoothServer::Status result);
  bool powered(BluetoothServer::Module module);

  BluetoothServer& server_;
  RunLoop& runLoop_;
  bool keepSessionAlive_ = false;
  BluetoothServer::Session session_ = 0;
  BluetoothServer::Device localBluetoothDevice_ = 0;
  std::int32_t lastLogTime_;  ///< seconds since 1970
  bool observesBatteryLevel_ = false;
  Registration sessionCallbacks_;
  Registration deviceCallbacks_;
  Registration powerUpdates_;
  std::list<Registration> reconnects_;  ///< one timer for each lost session, until it fires
};

}  // namespace zorva
