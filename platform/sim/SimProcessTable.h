#pragma once

#include <map>
#include <string>
#include <utility>

#include "platform/ProcessTable.h"
#include "platform/sim/SimFaults.h"

namespace zorva {

class SimProcessTable : public ProcessTable {
 public:
  explicit SimProcessTable(SimFaults& faults)
      : commandNameFault_(faults, "processes.commandName") {}

  std::optional<std::string> commandName(std::int32_t process) override {
    const auto found = names_.find(process);
    if (commandNameFault_.strikes() || found == names_.end()) return std::nullopt;
    return found->second;
  }

  /// Starts a process, or renames it. The kernel keeps 16 bytes of the name.
  void setProcess(std::int32_t process, const std::string& name) {
    names_[process] = name.substr(0, 16);
  }
  void endProcess(std::int32_t process) { names_.erase(process); }

 private:
  SimFaultPoint commandNameFault_;
  std::map<std::int32_t, std::string> names_;
};

}  // namespace zorva
