// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <string>
#include <sys/types.h>
#include <vector>

#include "platform/base/Descriptor.h"
#include "platform/processes/ProcessInformation.h"
#include "platform/processes/linux/SocketDiagnostics.h"

namespace zorva {

/// Processes and their descriptors from procfs, sockets from one socket-diagnostics dump a look;
/// docs/linux-sockets.md says which processes' sockets can be read.
///
/// A look is meant to cost little: /proc and each /proc/PID/fd are read once, each descriptor's
/// link is read once, and nothing is allocated for a descriptor once the buffers have grown.
///
/// Errors: kNoSuchProcess for a process that has gone, EACCES for one whose descriptors this user
/// may not see, EBADF for a descriptor that is not open, ENOTSOCK for one that is no socket.
class LinuxProcessInformation : public ProcessInformation {
 public:
  /// The root is for tests.
  explicit LinuxProcessInformation(const std::string& procRoot = "/proc");

  /// A fill that follows the question for the byte count answers the processes that were counted.
  ProcAnswer proc_listpids(std::span<std::int32_t> processes) override;
  /// Reads the process's descriptors, so that the list and their sockets are as of now.
  ProcAnswer proc_pidinfo(pid_t pid, proc_taskallinfo& information) override;
  ProcAnswer proc_pidinfo(pid_t pid, std::span<proc_fdinfo> descriptors) override;
  ProcAnswer proc_pidfdinfo(pid_t pid, std::int32_t descriptor, socket_fdinfo& socket) override;
  /// The name of a thread of the kernel is longer than that of others, which is at most 15 bytes.
  ProcAnswer proc_name(pid_t pid, std::span<char> name) override;
  /// Of an executable that has been removed or replaced, the path it had. Threads of the kernel
  /// have none.
  ProcAnswer proc_pidpath(pid_t pid, std::span<char> path) override;

 private:
  struct OpenDescriptor {
    std::int32_t number = 0;
    std::uint32_t type = 0;
    std::uint32_t inode = 0;  ///< of a socket
  };
  int listProcesses();
  int readDescriptors(pid_t pid);

  Descriptor proc_;
  SocketDiagnostics sockets_;
  bool socketsAreOld_ = true;  ///< processes were listed since they were taken
  std::vector<std::int32_t> processes_;
  bool counted_ = false;                     ///< processes_ waits for the fill
  std::int32_t process_ = 0;                 ///< whose descriptors descriptors_ has, or 0
  bool listed_ = false;                      ///< the list of descriptors_ was answered already
  std::vector<OpenDescriptor> descriptors_;  ///< in ascending order
  alignas(std::uint64_t) std::array<char, 32768> entries_;  ///< entries of a directory
};

}  // namespace zorva
