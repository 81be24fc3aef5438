// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/system/SystemLog.h"

namespace zorva {

/// Keeps the lines that are written to it, or passes them on.
class SimSystemLog : public SystemLog {
 public:
  void write(std::string_view message) override {
    if (forward_) {
      forward_(message);
    } else {
      lines_.emplace_back(message);
    }
  }

  /// From now on, lines are passed to it and are not kept.
  void setForward(std::function<void(std::string_view)> forward) { forward_ = std::move(forward); }

  /// The lines kept since the last call.
  std::vector<std::string> takeLines() { return std::exchange(lines_, {}); }

 private:
  std::function<void(std::string_view)> forward_;
  std::vector<std::string> lines_;
};

}  // namespace zorva
