// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>

#include "platform/base/Observers.h"
#include "platform/notifications/NotificationCentre.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The notification centre of the handset. A post calls its subscribers before it returns.
class SimSystemNotifications : public NotificationCentre {
 public:
  static constexpr const char* kExit = "com.vennor.zorva.exit";

  explicit SimSystemNotifications(SimParts& parts);

  Registration observe(const std::string& name, Callback callback) override;
  std::optional<std::uint64_t> state(const std::string& name) override;

  void post(std::string_view name) override { observers_[std::string(name)].notify(name); }
  /// Posts the notification that ends the daemon.
  void postExit() { post(kExit); }

  /// Sets the name's state, without a post. An empty value makes it unreadable.
  void setState(const std::string& name, std::optional<std::uint64_t> state) {
    states_[name] = state;
  }
  /// The state, regardless of faults: 0 if none was set.
  std::optional<std::uint64_t> stateAsSet(const std::string& name) const {
    const auto found = states_.find(name);
    return found == states_.end() ? 0 : found->second;
  }

 private:
  SimFaultPoint observeFault_;
  SimFaultPoint stateFault_;
  std::map<std::string, Observers<std::string_view>> observers_;
  std::map<std::string, std::optional<std::uint64_t>> states_;
};

}  // namespace zorva
