// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <utility>

#include "platform/base/Registration.h"

namespace zorva {

/// The callbacks registered for one kind of event. notify() calls them synchronously, in the order
/// of registration. From inside a callback, observers may be added and removed and further events
/// delivered: an observer that was removed is not called any more, one that was added during a
/// delivery is not called by it. A callback may even destroy this object. Copies share their
/// observers.
template <typename... Arguments>
class Observers {
 public:
  using Callback = std::function<void(Arguments...)>;

  /// The registration may outlive this object.
  Registration add(Callback callback) {
    list_->entries.push_back({std::move(callback), ++list_->lastNumber});
    return Registration([weak = std::weak_ptr(list_), number = list_->lastNumber] {
      const auto list = weak.lock();
      if (!list) return;
      for (Entry& entry : list->entries) {
        if (entry.number == number) entry.removed = true;
      }
      list->sweep();
    });
  }

  void notify(Arguments... arguments) {
    const auto list = list_;  // a callback may destroy this object
    const std::uint64_t last = list->lastNumber;
    ++list->deliveries;
    for (Entry& entry : list->entries) {
      if (entry.number > last) break;
      if (!entry.removed) entry.callback(arguments...);
    }
    --list->deliveries;
    list->sweep();
  }

 private:
  struct Entry {
    Callback callback;
    std::uint64_t number;
    bool removed = false;
  };
  struct List {
    std::list<Entry> entries;
    std::uint64_t lastNumber = 0;
    int deliveries = 0;
    void sweep() {
      if (deliveries == 0) entries.remove_if([](const Entry& entry) { return entry.removed; });
    }
  };
  std::shared_ptr<List> list_ = std::make_shared<List>();
};

}  // namespace zorva
