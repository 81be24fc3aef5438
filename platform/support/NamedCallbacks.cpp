#include "platform/support/NamedCallbacks.h"

#include <utility>

namespace zorva {

Registration NamedCallbacks::add(std::string name, Callback callback) {
  const std::uint64_t number = ++entries_->lastNumber;
  entries_->list.push_back({std::move(name), std::move(callback), number});
  return Registration([weak = std::weak_ptr(entries_), number] {
    const auto entries = weak.lock();
    if (!entries) return;
    for (Entry& entry : entries->list) {
      if (entry.number == number) entry.removed = true;
    }
    entries->sweep();
  });
}

void NamedCallbacks::call(std::string_view name) {
  const auto entries = entries_;  // a callback may destroy this object
  const std::uint64_t last = entries->lastNumber;
  ++entries->callsUnderWay;
  for (Entry& entry : entries->list) {
    if (entry.number > last) break;
    if (!entry.removed && entry.name == name) entry.callback(name);
  }
  --entries->callsUnderWay;
  entries->sweep();
}

// Removed entries stay in the list while a call walks it.
void NamedCallbacks::Entries::sweep() {
  if (callsUnderWay == 0) list.remove_if([](const Entry& entry) { return entry.removed; });
}

}  // namespace zorva
