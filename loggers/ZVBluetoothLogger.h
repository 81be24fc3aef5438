// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <list>
#include <memory>

#include "core/ZVLogger.h"
#include "platform/bluetooth/BluetoothServer.h"
#include "platform/loop/RunLoop.h"

namespace zorva {

/// Logs the power-relevant state of the Bluetooth controller and the energy that it has used since
/// the previous entry, in the server's own unit, at most once a minute:
///
///     11/16/26 14:07:16 [Bluetooth] state=on; runvo=off; fm=off; discoverable=no; connectable=yes;
///     connected=no; power_consumption=120; power_err=0; power_time=60; power_consumption_rate=2;
///
/// If the server ends a session, it is requested again half a minute later; if it refuses one, it
/// is not. The error messages of the queries end in a newline of their own, so an empty line
/// follows each of those entries.
class ZVBluetoothLogger : public ZVLogger {
 public:
  static constexpr int kReconnectDelay = 30;  ///< seconds

  static std::unique_ptr<ZVBluetoothLogger> logger(const Services& services,
                                                   BluetoothServer& server, RunLoop& runLoop);
  ~ZVBluetoothLogger() override;

  /// Writes nothing without a session, or within 60 seconds of the attachment or the previous
  /// entry.
  void log() override;

  void attachSession();
  void detachSession();
  void sessionAttachedWithResult(BluetoothServer::Session session, BluetoothServer::Status result);
  void sessionTerminatedWithResult(BluetoothServer::Session session,
                                   BluetoothServer::Status result);

  /// The controller, queried until the server has one; 0 if there is none.
  BluetoothServer::Device localBluetoothDevice();

  /// If the server replies with an error, each writes an error entry and returns false. If there is
  /// no controller, the lookup writes another one.
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
