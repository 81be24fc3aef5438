// SPDX-License-Identifier: Apache-2.0
#include "platform/processes/sim/SimProcessInformation.h"

#include <algorithm>
#include <string_view>

namespace zorva {
namespace {

constexpr int kInputOutputError = 5;  // the kernel's numbers
constexpr int kBadDescriptor = 9;
constexpr int kNotPermitted = 1;

// Bytes of a truncated record: a complete one would have to be filled in.
constexpr SimFaultResults cutRecord(int wholeSize) {
  return {.usual = 100, .least = 1, .most = wholeSize - 1, .code = false};
}
constexpr SimFaultResults kAnyCount{.usual = 0, .least = 0, .most = UINT32_MAX, .code = false};

ProcAnswer answerText(std::string_view text, std::span<char> buffer) {
  const std::size_t length = std::min(text.size(), buffer.size());
  std::copy_n(text.begin(), length, buffer.begin());
  if (length < buffer.size()) buffer[length] = '\0';
  return {static_cast<int>(length), 0};
}

}  // namespace

SimProcessInformation::SimProcessInformation(SimFaults& faults, const SimProcessTable& table)
    : table_(table),
      countProcessesFault_(faults, "processInformation.countProcesses", kInputOutputError),
      listProcessesFault_(faults, "processInformation.listProcesses", kInputOutputError),
      taskInformationFault_(faults, "processInformation.taskInformation", kInputOutputError),
      taskBytesInstead_(faults, "processInformation.taskInformationBytes",
                        cutRecord(kProcTaskAllInfoSize)),
      openFilesInstead_(faults, "processInformation.openFiles", kAnyCount),
      descriptorsFault_(faults, "processInformation.descriptors", kInputOutputError),
      socketFault_(faults, "processInformation.socket", kBadDescriptor),
      socketBytesInstead_(faults, "processInformation.socketBytes", cutRecord(kSocketFdInfoSize)),
      nameFault_(faults, "processInformation.name", kInputOutputError),
      pathFault_(faults, "processInformation.path", kInputOutputError) {}

ProcAnswer SimProcessInformation::proc_listpids(std::span<std::int32_t> processes) {
  const auto& all = table_.all();
  if (processes.empty()) {
    if (const auto error = countProcessesFault_.struckResult<int>()) return {0, *error};
    return {static_cast<int>(all.size() * sizeof(std::int32_t)), 0};
  }
  if (const auto error = listProcessesFault_.struckResult<int>()) return {0, *error};
  std::size_t count = 0;
  for (auto each = all.begin(); each != all.end() && count < processes.size(); ++each) {
    processes[count++] = each->first;
  }
  return {static_cast<int>(count * sizeof(std::int32_t)), 0};
}

ProcAnswer SimProcessInformation::proc_pidinfo(pid_t pid, proc_taskallinfo& information) {
  if (const auto error = taskInformationFault_.struckResult<int>()) return {0, *error};
  if (const auto bytes = taskBytesInstead_.struckResult<int>()) return {*bytes, 0};
  const SimProcess* found = table_.find(pid);
  if (found == nullptr) return {0, kNoSuchProcess};
  information.openFiles = static_cast<std::uint32_t>(found->descriptors.size());
  if (const auto count = openFilesInstead_.struckResult<std::uint32_t>()) {
    information.openFiles = *count;
  }
  return {kProcTaskAllInfoSize, 0};
}

ProcAnswer SimProcessInformation::proc_pidinfo(pid_t pid, std::span<proc_fdinfo> descriptors) {
  constexpr std::uint32_t kDescriptorIsFile = 1;

  if (const auto error = descriptorsFault_.struckResult<int>()) return {0, *error};
  const SimProcess* found = table_.find(pid);
  if (found == nullptr) return {0, kNoSuchProcess};
  const auto& all = found->descriptors;
  std::size_t count = 0;
  for (auto each = all.begin(); each != all.end() && count < descriptors.size(); ++each) {
    descriptors[count++] = {each->first, each->second ? kDescriptorIsSocket : kDescriptorIsFile};
  }
  return {static_cast<int>(count * sizeof(proc_fdinfo)), 0};
}

ProcAnswer SimProcessInformation::proc_pidfdinfo(pid_t pid, std::int32_t descriptor,
                                                 socket_fdinfo& socket) {
  if (const auto error = socketFault_.struckResult<int>()) return {0, *error};
  if (const auto bytes = socketBytesInstead_.struckResult<int>()) return {*bytes, 0};
  const SimProcess* found = table_.find(pid);
  if (found == nullptr) return {0, kNoSuchProcess};
  const auto open = found->descriptors.find(descriptor);
  if (open == found->descriptors.end() || !open->second) return {0, kBadDescriptor};
  socket = *open->second;
  return {kSocketFdInfoSize, 0};
}

ProcAnswer SimProcessInformation::proc_name(pid_t pid, std::span<char> name) {
  if (const auto error = nameFault_.struckResult<int>()) return {0, *error};
  const SimProcess* found = table_.find(pid);
  if (found == nullptr) return {0, kNoSuchProcess};
  return answerText(found->name, name);
}

ProcAnswer SimProcessInformation::proc_pidpath(pid_t pid, std::span<char> path) {
  if (const auto error = pathFault_.struckResult<int>()) return {0, *error};
  const SimProcess* found = table_.find(pid);
  if (found == nullptr) return {0, kNoSuchProcess};
  if (found->path.empty()) return {0, kNotPermitted};
  return answerText(found->path, path);
}

}  // namespace zorva
