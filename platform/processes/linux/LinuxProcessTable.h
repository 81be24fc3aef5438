// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/processes/ProcessTable.h"

namespace zorva {

/// Process names from procfs.
class LinuxProcessTable : public ProcessTable {
 public:
  std::optional<std::string> commandName(pid_t pid) override;
};

}  // namespace zorva
