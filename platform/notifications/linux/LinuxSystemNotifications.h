// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/base/Observers.h"
#include "platform/loop/RunLoop.h"
#include "platform/notifications/NotificationCentre.h"
#include "platform/notifications/linux/NotificationSocket.h"
#include "platform/system/SystemLog.h"

namespace zorva {

/// System notifications without a broker: those that zorva-notify sends to the daemon's socket, and
/// those that the platform's own services post in this process.
///
/// The socket is created with the first subscription. While it cannot be created, subscriptions are
/// refused and the system log gives the reason.
class LinuxSystemNotifications : public NotificationCentre {
 public:
  LinuxSystemNotifications(
      RunLoop& runLoop, SystemLog& systemLog,
      NotificationDirectories directories = NotificationDirectories::ofProcess())
      : runLoop_(runLoop), systemLog_(systemLog), directories_(std::move(directories)) {}

  Registration observe(const std::string& name, Callback callback) override;
  std::optional<std::uint64_t> state(const std::string& name) override;

  void post(std::string_view name) override;

  using StateSource = std::function<std::optional<std::uint64_t>()>;

  /// For services of this platform: each read of the name's state calls the source, until the
  /// registration is destroyed, which must be before this object is. A later source for the same
  /// name replaces the earlier one.
  Registration provideState(const std::string& name, StateSource source);

 private:
  bool listen();
  void receive();

  RunLoop& runLoop_;
  SystemLog& systemLog_;
  NotificationDirectories directories_;
  std::map<std::string, Observers<std::string_view>, std::less<>> observers_;
  std::map<std::string, std::shared_ptr<const StateSource>> stateSources_;
  std::string lastProblem_;
  std::unique_ptr<NotificationSocket> socket_;
  Registration watch_;
};

}  // namespace zorva
