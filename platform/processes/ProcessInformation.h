// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <sys/types.h>

namespace zorva {

/// The part of PROC_PIDTASKALLINFO that is used here.
struct proc_taskallinfo {
  std::uint32_t openFiles = 0;  ///< from its BSD part: the number of open descriptors
};
/// Bytes of the kernel's own record, returned as the byte count of a complete result.
inline constexpr int kProcTaskAllInfoSize = 232;

/// One descriptor of a process.
struct proc_fdinfo {
  std::int32_t proc_fd = 0;
  std::uint32_t proc_fdtype = 0;
};
static_assert(sizeof(proc_fdinfo) == 8);
inline constexpr std::uint32_t kDescriptorIsSocket = 2;

inline constexpr std::int32_t kSocketKindIPv4 = 1;  ///< without TCP information
inline constexpr std::int32_t kSocketKindTCP = 2;

/// TCP states by their number in socket_fdinfo.
namespace tcp {
inline constexpr std::int32_t kClosed = 0;
inline constexpr std::int32_t kListen = 1;
inline constexpr std::int32_t kSynSent = 2;
inline constexpr std::int32_t kSynReceived = 3;
inline constexpr std::int32_t kEstablished = 4;
inline constexpr std::int32_t kCloseWait = 5;
inline constexpr std::int32_t kFinWait1 = 6;
inline constexpr std::int32_t kClosing = 7;
inline constexpr std::int32_t kLastAck = 8;
inline constexpr std::int32_t kFinWait2 = 9;
inline constexpr std::int32_t kTimeWait = 10;
}  // namespace tcp

/// One socket, as PROC_PIDFDSOCKETINFO describes it.
struct socket_fdinfo {
  std::int32_t soi_kind = 0;
  std::int32_t tcpsi_state = 0;
  std::uint32_t insi_lport = 0;  ///< local port in network byte order, in the low 16 bits
  std::uint32_t insi_fport = 0;  ///< foreign port, the same way
  std::array<std::uint8_t, 4> insi_laddr{};  ///< local IPv4 address, first byte first
  std::array<std::uint8_t, 4> insi_faddr{};  ///< foreign IPv4 address
};
/// Bytes of the kernel's own record, returned as the byte count of a complete result.
inline constexpr int kSocketFdInfoSize = 792;

/// The result of a process-information operation: the number of bytes filled in or needed. 0 or
/// less is a failure, with its error number.
struct ProcAnswer {
  int bytes = 0;
  int error = 0;
};
inline constexpr int kNoSuchProcess = 3;  ///< the process has ended

/// The kernel's process-information operations. Listing all processes, or querying the byte count
/// of the list, begins a new walk: all information on sockets is then as of the walk's first socket
/// query, so that each walk needs exactly one dump of the kernel's sockets, however often the list
/// is fetched. Processes of other users are visible as far as the caller's privileges allow.
class ProcessInformation {
 public:
  virtual ~ProcessInformation() = default;

  /// Fills in the ids of all processes, in ascending order, as many as fit; with an empty buffer
  /// returns the bytes needed (4 per id).
  virtual ProcAnswer proc_listpids(std::span<std::int32_t> processes) = 0;
  virtual ProcAnswer proc_pidinfo(pid_t pid, proc_taskallinfo& information) = 0;
  /// Fills in the process's descriptors in ascending order, as many as fit (8 bytes each).
  virtual ProcAnswer proc_pidinfo(pid_t pid, std::span<proc_fdinfo> descriptors) = 0;
  /// Describes a socket of any kind; soi_kind is 0 for one that is neither an IPv4 nor a TCP
  /// socket.
  virtual ProcAnswer proc_pidfdinfo(pid_t pid, std::int32_t descriptor, socket_fdinfo& socket) = 0;
  /// The short name, and the path of the executable: any bytes, truncated to the buffer, terminated
  /// by a NUL if there is room. The result is the number of bytes before the NUL.
  virtual ProcAnswer proc_name(pid_t pid, std::span<char> name) = 0;
  virtual ProcAnswer proc_pidpath(pid_t pid, std::span<char> path) = 0;
};

}  // namespace zorva
