#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Registration.h"

namespace zorva {

/// Callbacks by name, called in the order in which they came. They may be added and removed, and
/// further calls made, from inside a call: one that was removed is not called any more, one that
/// was added is first called the next time.
class NamedCallbacks {
 public:
  using Callback = std::function<void(std::string_view name)>;

  NamedCallbacks() : entries_(std::make_shared<Entries>()) {}

  /// The registration may outlive this object.
  Registration add(std::string name, Callback callback);
  void call(std::string_view name);

 private:
  struct Entry {
    std::string name;
    Callback callback;
    std::uint64_t number;  // counts additions, so that a call knows which came after it began
    bool removed = false;
  };
  struct Entries {
    std::list<Entry> list;
    std::uint64_t lastNumber = 0;
    int callsUnderWay = 0;
    void sweep();
  };
  std::shared_ptr<Entries> entries_;
};

}  // namespace zorva
