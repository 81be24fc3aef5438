// SPDX-License-Identifier: Apache-2.0
#include "platform/notifications/linux/LinuxSystemNotifications.h"

#include "platform/base/Text.h"
#include "platform/notifications/linux/NotificationStates.h"

namespace zorva {

Registration LinuxSystemNotifications::observe(const std::string& name, Callback callback) {
  if (!isNotificationName(name) || !listen()) return {};
  return observers_[name].add(std::move(callback));
}

std::optional<std::uint64_t> LinuxSystemNotifications::state(const std::string& name) {
  if (const auto found = stateSources_.find(name); found != stateSources_.end()) {
    const auto source = found->second;
    return (*source)();
  }
  return readNotificationState(directories_, name);
}

Registration LinuxSystemNotifications::provideState(const std::string& name, StateSource source) {
  const auto held = std::make_shared<const StateSource>(std::move(source));
  stateSources_[name] = held;
  return Registration([this, name, held] {
    const auto found = stateSources_.find(name);
    if (found != stateSources_.end() && found->second == held) stateSources_.erase(found);
  });
}

bool LinuxSystemNotifications::listen() {
  if (watch_) return true;
  std::string problem;
  socket_ = NotificationSocket::make(directories_.own, problem);
  if (socket_) watch_ = runLoop_.watchDescriptor(socket_->descriptor(), [this] { receive(); });
  if (watch_) return true;
  if (socket_) problem = "The run loop cannot watch the socket of system notifications";
  socket_.reset();
  // Reports it once, not for each of a start's dozen subscriptions.
  if (problem != lastProblem_) {
    systemLog_.write("No system notifications are received: " + problem);
    lastProblem_ = problem;
  }
  return false;
}

void LinuxSystemNotifications::post(std::string_view name) {
  if (const auto found = observers_.find(name); found != observers_.end()) {
    found->second.notify(name);
  }
}

void LinuxSystemNotifications::receive() {
  const std::vector<std::string> names = socket_->takePosts();
  auto observers = observers_;  // a callback may destroy this object
  for (const std::string& name : names) {
    if (const auto found = observers.find(name); found != observers.end()) {
      found->second.notify(name);
    }
  }
}

}  // namespace zorva
