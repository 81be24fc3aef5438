// SPDX-License-Identifier: Apache-2.0
#include "platform/processes/linux/LinuxProcessTable.h"

#include "platform/processes/linux/ProcfsFiles.h"

namespace zorva {

std::optional<std::string> LinuxProcessTable::commandName(pid_t pid) {
  if (pid <= 0) return std::nullopt;
  const Descriptor procfs(openDirectory(AT_FDCWD, "/proc"));
  auto name = procfs ? readProcessName(procfs.get(), pid) : std::nullopt;
  if (!name) return std::nullopt;
  // The kernel appends the current work to its workers' names.
  return name->substr(0, kCommandLength);
}

}  // namespace zorva
