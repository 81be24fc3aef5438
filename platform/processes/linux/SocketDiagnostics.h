// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/kit/netlink/NetlinkSocket.h"
#include "platform/processes/ProcessInformation.h"

namespace zorva {

/// A socket that carries IPv4, by the inode that descriptors name it with.
struct SocketOfInode {
  std::uint32_t inode = 0;
  socket_fdinfo socket;
};

enum class SocketProtocol : std::uint8_t { TCP, UDP };

/// The number in ProcessInformation.h of the kernel's state of a TCP socket; that of a closed one
/// for numbers that no socket has.
std::int32_t tcpStateOfKernel(unsigned state);

/// Reads one message of a dump's answer and appends its socket, if that is to be listed. False when
/// the message does not hold a whole record.
bool readSocketMessage(const nlmsghdr& message, SocketProtocol protocol,
                       std::vector<SocketOfInode>& sockets);

/// Reads a table as "/proc/net/tcp" and its like are; lines that do not read as one are passed
/// over. Such a table does not show whether an IPv6 listener refuses IPv4: it counts as one that
/// does not, which is how sockets are born.
void readSocketTable(std::string_view text, SocketProtocol protocol, bool ipv6,
                     std::vector<SocketOfInode>& sockets);

/// All TCP and UDP sockets of this network namespace that carry IPv4: IPv4 sockets, IPv6 sockets
/// with v4-mapped addresses, and IPv6 sockets without an address that also take IPv4.
///
/// Sockets without an inode (in TIME_WAIT, or not yet accepted) belong to no descriptor and are not
/// in it.
class SocketDiagnostics {
 public:
  /// The root is for tests.
  explicit SocketDiagnostics(std::string procRoot = "/proc");

  /// Asks the kernel anew, with one socket-diagnostics dump for each protocol and family. One that
  /// fails is read from /proc/net instead. Takes at most a second when the kernel does not answer.
  void take();

  /// Nothing for a socket of another kind, one opened since, or one of another namespace. Valid
  /// until the sockets are taken again.
  const socket_fdinfo* find(std::uint32_t inode) const;

 private:
  NetlinkAnswer dump(NetlinkSocket& netlink, SocketProtocol protocol, std::uint8_t family);
  void readTable(SocketProtocol protocol, bool ipv6);

  std::string procRoot_;
  std::vector<SocketOfInode> sockets_;  ///< in the order of their inodes
  std::vector<char> buffer_;
};

}  // namespace zorva
