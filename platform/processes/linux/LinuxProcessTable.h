#pragma once

#include "platform/processes/ProcessTable.h"

namespace zorva {

/// Process names from procfs.
class LinuxProcessTable : public ProcessTable {
 public:
  std::optional<std::string> commandName(std::int32_t process) override;
};

}  // namespace zorva
