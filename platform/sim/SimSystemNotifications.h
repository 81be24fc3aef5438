#pragma once

#include <map>

#include "platform/SystemNotifications.h"
#include "platform/sim/SimFaults.h"
#include "platform/sim/SimObservers.h"

namespace zorva {

/// The notification centre of the handset. A post reaches its subscribers before it returns.
class SimSystemNotifications : public SystemNotifications {
 public:
  explicit SimSystemNotifications(SimFaults& faults)
      : subscribeFault_(faults, "notifications.subscribe"),
        stateFault_(faults, "notifications.state") {}

  Registration subscribe(const std::string& name, Callback callback) override;
  std::optional<std::uint64_t> state(const std::string& name) override;

  void post(const std::string& name) { observers_[name].tell(name); }

  /// Sets the name's state, without a post. Nothing makes it unreadable.
  void setState(const std::string& name, std::optional<std::uint64_t> state) {
    states_[name] = state;
  }

 private:
  SimFaultPoint subscribeFault_;
  SimFaultPoint stateFault_;
  std::map<std::string, SimObservers<std::string_view>> observers_;
  std::map<std::string, std::optional<std::uint64_t>> states_;
};

}  // namespace zorva
