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

/// Processes and their descriptors from procfs, sockets from one socket-diagnostics dump per walk;
/// docs/linux-sockets.md describes which processes' sockets can be read.
///
/// A walk must be cheap: /proc and each /proc/PID/fd are read once, each descriptor's link is read
/// once, and nothing is allocated for a descriptor once the buffers have grown.
///
/// Errors: kNoSuchProcess for a process that has ended, EACCES for one whose descriptors this user
/// may not read, EBADF for a descriptor that is not open, ENOTSOCK for one that is not a socket.
class LinuxProcessInformation : public ProcessInformation {
 public:
  /// `procRoot` is for tests.
  explicit LinuxProcessInformation(const std::string& procRoot = "/proc");

  /// A fill after a byte-count query returns the processes that were counted.
  ProcAnswer proc_listpids(std::span<std::int32_t> processes) override;
  /// Reads the process's descriptors; their list and sockets are then as of this call.
  ProcAnswer proc_pidinfo(pid_t pid, proc_taskallinfo& information) override;
  ProcAnswer proc_pidinfo(pid_t pid, std::span<proc_fdinfo> descriptors) override;
  ProcAnswer proc_pidfdinfo(pid_t pid, std::int32_t descriptor, socket_fdinfo& socket) override;
  /// At most 15 bytes, except for kernel threads, whose names are longer.
  ProcAnswer proc_name(pid_t pid, std::span<char> name) override;
  /// If the executable has been removed or replaced, its former path. Kernel threads have none.
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
  bool socketsStale_ = true;  ///< processes were listed since the last dump
  std::vector<std::int32_t> processes_;
  bool counted_ = false;                     ///< processes_ is for the next fill
  std::int32_t process_ = 0;                 ///< the process of descriptors_, or 0
  bool listed_ = false;                      ///< the list of descriptors_ has been returned already
  std::vector<OpenDescriptor> descriptors_;  ///< in ascending order
  alignas(std::uint64_t) std::array<char, 32768> entries_;  ///< entries of a directory
};

}  // namespace zorva
