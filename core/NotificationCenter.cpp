#include "core/NotificationCenter.h"

#include <utility>

namespace zorva {

NotificationCenter::NotificationCenter() : observers_(std::make_shared<Observers>()) {}

Registration NotificationCenter::observe(std::string name, Callback callback, const void* sender) {
  const std::uint64_t number = ++observers_->lastNumber;
  observers_->list.push_back({std::move(name), sender, std::move(callback), number});
  return Registration([weak = std::weak_ptr(observers_), number] {
    const auto observers = weak.lock();
    if (!observers) return;
    for (Observer& observer : observers->list) {
      if (observer.number == number) observer.removed = true;
    }
    observers->sweep();
  });
}

void NotificationCenter::post(std::string_view name, const void* sender,
                              const UserInformation& userInformation) {
  const auto observers = observers_;  // an observer may destroy the centre
  const std::uint64_t last = observers->lastNumber;
  ++observers->postsUnderWay;
  for (Observer& observer : observers->list) {
    if (observer.number > last) break;
    if (observer.removed || observer.name != name) continue;
    if (observer.sender != nullptr && observer.sender != sender) continue;
    observer.callback({name, sender, userInformation});
  }
  --observers->postsUnderWay;
  observers->sweep();
}

// Removed observers stay in the list while a post walks it.
void NotificationCenter::Observers::sweep() {
  if (postsUnderWay == 0) list.remove_if([](const Observer& observer) { return observer.removed; });
}

}  // namespace zorva
