// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <any>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "platform/base/Observers.h"
#include "platform/base/Registration.h"

namespace zorva {

/// The data that a post carries in addition to its name, by key.
using UserInformation = std::map<std::string, std::any, std::less<>>;

/// One post, as an observer receives it.
struct Notification {
  std::string_view name;
  const void* sender;  ///< the object that posted it, for comparison only
  const UserInformation& userInformation;
};

/// The notification centre of this process. A post calls every observer of the name before it
/// returns, in the order of registration. Observers describes what a callback may do during a post.
class NotificationCenter {
 public:
  using Callback = std::function<void(const Notification&)>;

  /// Calls back for posts of the name; if a sender is given, only for its posts. The registration
  /// may outlive the centre.
  Registration observe(const std::string& name, Callback callback, const void* sender = nullptr);

  void post(std::string_view name, const void* sender = nullptr,
            const UserInformation& userInformation = {});

 private:
  std::map<std::string, Observers<const Notification&>, std::less<>> observers_;
};

}  // namespace zorva
