#pragma once

#include <any>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Registration.h"

namespace zorva {

/// What a poster tells its observers beside the name, by key.
using UserInformation = std::map<std::string, std::any, std::less<>>;

/// One post, as an observer sees it.
struct Notification {
  std::string_view name;
  const void* sender;  ///< the object that posted it, for comparison only
  const UserInformation& userInformation;
};

/// The notification centre of this process. A post calls every observer of the name before it
/// returns, in the order in which they came.
///
/// Observers may be added and removed, and further posts made, from inside a post: an observer that
/// was removed is not called any more, one that was added is first called by the next post.
class NotificationCenter {
 public:
  using Callback = std::function<void(const Notification&)>;

  NotificationCenter();

  /// Calls back for posts of the name, by the sender only when one is given. The registration may
  /// outlive the centre.
  Registration observe(std::string name, Callback callback, const void* sender = nullptr);

  void post(std::string_view name, const void* sender = nullptr,
            const UserInformation& userInformation = {});

 private:
  struct Observer {
    std::string name;
    const void* sender;
    Callback callback;
    std::uint64_t number;  ///< counts observations, so that a post knows which came after it began
    bool removed = false;
  };
  // Shared with the registrations, which may be dropped when the centre is gone already.
  struct Observers {
    std::list<Observer> list;
    std::uint64_t lastNumber = 0;
    int postsUnderWay = 0;
    void sweep();
  };
  std::shared_ptr<Observers> observers_;
};

}  // namespace zorva
