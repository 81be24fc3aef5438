// SPDX-License-Identifier: Apache-2.0
#include "core/NotificationCenter.h"

#include <utility>

namespace zorva {

Registration NotificationCenter::observe(const std::string& name, Callback callback,
                                         const void* sender) {
  if (sender == nullptr) return observers_[name].add(std::move(callback));
  return observers_[name].add(
      [callback = std::move(callback), sender](const Notification& notification) {
        if (notification.sender == sender) callback(notification);
      });
}

void NotificationCenter::post(std::string_view name, const void* sender,
                              const UserInformation& userInformation) {
  const auto observers = observers_.find(name);
  if (observers != observers_.end()) observers->second.notify({name, sender, userInformation});
}

}  // namespace zorva
