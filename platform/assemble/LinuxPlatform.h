// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "platform/assemble/Platform.h"

namespace zorva {

/// The services of this machine, and what refers to them.
class LinuxPlatform {
 public:
  virtual ~LinuxPlatform() = default;
  virtual const Platform& platform() const = 0;
};

/// Makes every service. A service that this machine lacks exists all the same and answers that it
/// has nothing; only a process that cannot have an event loop gets none, with the reason on
/// standard error.
std::unique_ptr<LinuxPlatform> makeLinuxPlatform();

/// Reports to the service manager that started this process, if one did, that it is ready.
void reportReady();

}  // namespace zorva
