#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "platform/ProcessTable.h"
#include "platform/sim/SimParts.h"
#include "platform/sim/SimSystemStatistics.h"

namespace zorva {

/// The handset's processes, which the kernel's figures tell of too.
class SimProcessTable : public ProcessTable {
 public:
  SimProcessTable(SimParts& parts, SimSystemStatistics& statistics);

  std::optional<std::string> commandName(std::int32_t process) override {
    const auto found = names_.find(process);
    if (commandNameFault_.strikes() || found == names_.end()) return std::nullopt;
    return found->second;
  }

  /// Starts a process, or replaces the one with that id. The kernel keeps 16 bytes of the name.
  void setProcess(std::int32_t process, const std::string& name, double cpuSeconds = 0);
  void endProcess(std::int32_t process);
  /// Lets a process that is there use the processor for so long.
  void addCpuTime(std::int32_t process, double seconds);

 private:
  ScenarioAction readProcess(const ScenarioNode& node);
  ScenarioAction readStep(const ScenarioNode& node);
  /// The ids that will be there when the step that is being read happens.
  std::set<std::int32_t>& planned();
  void clear();

  SimSystemStatistics& statistics_;
  SimFaultPoint commandNameFault_;
  std::map<std::int32_t, std::string> names_;
  std::optional<std::set<std::int32_t>> planned_;
};

}  // namespace zorva
