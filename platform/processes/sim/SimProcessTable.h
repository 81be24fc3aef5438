// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <sys/types.h>
#include <utility>

#include "platform/base/Observers.h"
#include "platform/processes/ProcessInformation.h"
#include "platform/processes/ProcessTable.h"
#include "platform/processes/sim/SimSystemStatistics.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// A process of the handset.
struct SimProcess {
  std::string name;  ///< as stored by the kernel
  std::string path;  ///< of the executable; empty if it cannot be read
  /// By number. A descriptor without a socket is an open file.
  std::map<std::int32_t, std::optional<socket_fdinfo>> descriptors;
  std::string unit = {};      ///< of work, in which its CPU time is counted, if not empty
  std::int64_t load = 0;      ///< millionths of a processor, used all the time
  std::int64_t loadRest = 0;  ///< millionths of a microsecond, computed and not yet counted
};

/// A socket for the table. Addresses are written "10.2.3.4:49152"; throws std::invalid_argument for
/// anything else. The state is one of tcp::k....
socket_fdinfo simTcpSocket(const std::string& local, const std::string& remote, std::int32_t state);
socket_fdinfo simUdpSocket(const std::string& local, const std::string& remote = "0.0.0.0:0");

/// The handset's processes, which the kernel's statistics also include.
class SimProcessTable : public ProcessTable {
 public:
  SimProcessTable(SimParts& parts, SimSystemStatistics& statistics);

  std::optional<std::string> commandName(pid_t pid) override {
    const SimProcess* found = find(pid);
    if (commandNameFault_.strikes() || found == nullptr) return std::nullopt;
    return found->name;
  }

  /// Starts a process, or replaces the one with that id. The kernel keeps 16 bytes of the name.
  void setProcess(pid_t pid, const std::string& name, double cpuSeconds = 0);
  void setPath(pid_t pid, const std::string& path);
  void setUnit(pid_t pid, const std::string& unit) { processes_.at(pid).unit = unit; }
  void endProcess(pid_t pid);
  /// Opens a socket, or a file, in an existing process, under its lowest free number.
  void open(pid_t pid, const std::optional<socket_fdinfo>& socket);
  /// Adds CPU time to an existing process.
  void addCpuTime(pid_t pid, std::chrono::microseconds time);
  /// Lets an existing process use so many millionths of a processor from now on.
  void setLoad(pid_t pid, std::int64_t load) { processes_.at(pid).load = load; }
  /// Adds what the processes compute in so much time under their loads.
  void compute(std::chrono::microseconds time);
  /// Calls back with the CPU time that a process has used.
  Registration observeCpuTime(
      std::function<void(pid_t, const SimProcess&, std::chrono::microseconds)> used) {
    return cpuTime_.add(std::move(used));
  }

  /// By id.
  const std::map<std::int32_t, SimProcess>& all() const { return processes_; }
  /// The process, or null if it does not exist.
  const SimProcess* find(pid_t pid) const {
    const auto found = processes_.find(pid);
    return found == processes_.end() ? nullptr : &found->second;
  }

 private:
  using PlannedSockets = std::multiset<std::string>;  // by their local address

  ScenarioAction readProcess(const ScenarioNode& node);
  ScenarioAction readStep(const ScenarioNode& node);
  std::int32_t readId(const ScenarioNode& node);
  ScenarioAction readSockets(const ScenarioNode& node);
  ScenarioAction readClose(const ScenarioNode& node);
  void close(pid_t pid, const std::string& socket);
  /// The processes that will exist when the step being read is executed.
  std::map<std::int32_t, PlannedSockets>& planned();
  void clear();

  SimSystemStatistics& statistics_;
  SimFaultPoint commandNameFault_;
  std::map<std::int32_t, SimProcess> processes_;
  Observers<pid_t, const SimProcess&, std::chrono::microseconds> cpuTime_;
  std::optional<std::map<std::int32_t, PlannedSockets>> planned_;
};

}  // namespace zorva
