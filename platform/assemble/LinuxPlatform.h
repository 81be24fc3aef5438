// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "platform/assemble/Platform.h"

namespace zorva {

/// The services of this machine, and the Platform that refers to them.
class LinuxPlatform {
 public:
  virtual ~LinuxPlatform() = default;
  virtual const Platform& platform() const = 0;
};

/// Creates every service. A service that this machine lacks is created too, and reports that it has
/// nothing. Only if no event loop can be created, returns null, with the reason on standard error.
std::unique_ptr<LinuxPlatform> makeLinuxPlatform();

/// Notifies the service manager, if one started this process, that it is ready.
void reportReady();

}  // namespace zorva
