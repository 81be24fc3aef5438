#include "platform/processes/linux/LinuxProcessTable.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/base/Descriptor.h"
#include "platform/base/Text.h"

namespace zorva {

std::optional<std::string> LinuxProcessTable::commandName(std::int32_t process) {
  if (process <= 0) return std::nullopt;
  const Descriptor file(::open(formatText("/proc/%d/comm", process).c_str(), O_RDONLY | O_CLOEXEC));
  char buffer[64];
  const ssize_t length = file ? ::read(file.get(), buffer, sizeof buffer) : -1;
  if (length <= 0) return std::nullopt;  // also when the process ended in between
  std::string name(buffer, static_cast<std::size_t>(length));
  if (name.ends_with('\n')) name.pop_back();
  // The kernel appends to the names of its own workers what they are at.
  return name.substr(0, 16);
}

}  // namespace zorva
