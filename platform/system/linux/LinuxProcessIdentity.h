// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <unistd.h>

#include "platform/system/ProcessIdentity.h"

namespace zorva {

class LinuxProcessIdentity : public ProcessIdentity {
 public:
  std::uint32_t effectiveUser() override { return ::geteuid(); }
  int setEffectiveUser(std::uint32_t user) override { return ::seteuid(user) == 0 ? 0 : errno; }
};

}  // namespace zorva
