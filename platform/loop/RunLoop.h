// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "platform/base/Registration.h"

namespace zorva {

/// The one loop on which every callback of the process runs.
class RunLoop {
 public:
  virtual ~RunLoop() = default;

  /// Calls `ready` whenever the descriptor has something to read, until the registration is
  /// dropped. The descriptor stays the caller's. An empty registration says that it cannot be
  /// watched.
  virtual Registration watchDescriptor(int descriptor, std::function<void()> ready) = 0;

  /// Calls `fire` once, `seconds` from now. The registration may be dropped before or after that.
  virtual Registration startTimer(double seconds, std::function<void()> fire) = 0;

  /// Delivers events until stop() is called, also from one of its own callbacks. An earlier stop()
  /// does not count. False: the loop itself has failed, and delivers nothing any more.
  virtual bool run() = 0;
  virtual void stop() = 0;
};

}  // namespace zorva
