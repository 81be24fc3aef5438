// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/processes/ProcessInformation.h"
#include "platform/processes/sim/SimProcessTable.h"
#include "platform/scenario/SimFaults.h"

namespace zorva {

/// Describes the processes of the table at the time of the call. They do not change while they are
/// sampled.
class SimProcessInformation : public ProcessInformation {
 public:
  SimProcessInformation(SimFaults& faults, const SimProcessTable& table);

  ProcAnswer proc_listpids(std::span<std::int32_t> processes) override;
  ProcAnswer proc_pidinfo(pid_t pid, proc_taskallinfo& information) override;
  ProcAnswer proc_pidinfo(pid_t pid, std::span<proc_fdinfo> descriptors) override;
  ProcAnswer proc_pidfdinfo(pid_t pid, std::int32_t descriptor, socket_fdinfo& socket) override;
  ProcAnswer proc_name(pid_t pid, std::span<char> name) override;
  ProcAnswer proc_pidpath(pid_t pid, std::span<char> path) override;

 private:
  const SimProcessTable& table_;
  // Those named ...Fault return an error number, those named ...Instead return that figure.
  SimFaultPoint countProcessesFault_;
  SimFaultPoint listProcessesFault_;
  SimFaultPoint taskInformationFault_;
  SimFaultPoint taskBytesInstead_;
  SimFaultPoint openFilesInstead_;
  SimFaultPoint descriptorsFault_;
  SimFaultPoint socketFault_;
  SimFaultPoint socketBytesInstead_;
  SimFaultPoint nameFault_;
  SimFaultPoint pathFault_;
};

}  // namespace zorva
