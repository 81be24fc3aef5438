// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <utility>

namespace zorva {

/// Holds one registration (a subscription, a watch, a timer). Destroying it removes the
/// registration: from then on the callback is never called again, even if it is destroyed inside
/// that callback or during a post.
class [[nodiscard]] Registration {
 public:
  Registration() = default;
  explicit Registration(std::function<void()> remove) : remove_(std::move(remove)) {}
  Registration(Registration&& other) noexcept : remove_(std::exchange(other.remove_, nullptr)) {}
  Registration& operator=(Registration&& other) noexcept {
    if (this != &other) {
      reset();
      remove_ = std::exchange(other.remove_, nullptr);
    }
    return *this;
  }
  ~Registration() { reset(); }

  /// Removes the registration now. Does nothing if there is none.
  void reset() {
    if (auto remove = std::exchange(remove_, nullptr)) remove();
  }
  explicit operator bool() const { return static_cast<bool>(remove_); }

 private:
  std::function<void()> remove_;
};

}  // namespace zorva
