#include "platform/sim/SimSystemNotifications.h"

#include <utility>

namespace zorva {

Registration SimSystemNotifications::subscribe(const std::string& name, Callback callback) {
  if (subscribeFault_.strikes()) return {};
  return observers_[name].add(std::move(callback));
}

std::optional<std::uint64_t> SimSystemNotifications::state(const std::string& name) {
  if (stateFault_.strikes()) return std::nullopt;
  const auto found = states_.find(name);
  return found == states_.end() ? 0 : found->second;
}

}  // namespace zorva
