// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/traffic/NetworkInterfaces.h"

namespace zorva {

/// The kernel's interfaces and addresses, from getifaddrs(3). An interface has one link-layer
/// element; its counters are the low 32 bits of the kernel's.
class LinuxNetworkInterfaces : public NetworkInterfaces {
 public:
  std::optional<std::vector<Address>> addresses() override;
};

}  // namespace zorva
