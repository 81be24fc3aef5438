// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/kit/netlink/NetlinkSocket.h"
#include "platform/processes/ProcessInformation.h"

namespace zorva {

/// A socket that carries IPv4, with the inode by which descriptors refer to it.
struct SocketOfInode {
  std::uint32_t inode = 0;
  socket_fdinfo socket;
};

enum class SocketProtocol : std::uint8_t { TCP, UDP };

/// The number in ProcessInformation.h of the kernel's TCP state; that of a closed socket for
/// unknown states.
std::int32_t tcpStateOfKernel(unsigned state);

/// Reads one message of a dump's reply and appends its socket, if that is to be listed. Returns
/// false if the message does not contain a complete record.
bool readSocketMessage(const nlmsghdr& message, SocketProtocol protocol,
                       std::vector<SocketOfInode>& sockets);

/// Reads a table such as "/proc/net/tcp"; malformed lines are skipped. Such a table does not show
/// whether an IPv6 listener refuses IPv4: it is assumed to accept IPv4, the default of new sockets.
void readSocketTable(std::string_view text, SocketProtocol protocol, bool ipv6,
                     std::vector<SocketOfInode>& sockets);

/// All TCP and UDP sockets of this network namespace that carry IPv4: IPv4 sockets, IPv6 sockets
/// with v4-mapped addresses, and IPv6 sockets without an address that also take IPv4.
///
/// Sockets without an inode (in TIME_WAIT, or not yet accepted) belong to no descriptor and are not
/// included.
class SocketDiagnostics {
 public:
  /// `procRoot` is for tests.
  explicit SocketDiagnostics(std::string procRoot = "/proc");

  /// Reads all sockets again, with one socket-diagnostics dump for each protocol and family. If a
  /// dump fails, /proc/net is read instead. If the kernel does not reply, takes at most a second.
  void take();
  /// The same, only from /proc/net.
  void readTables();

  /// Null for a socket of another kind, one opened since, or one of another namespace. Valid until
  /// the sockets are read again.
  const socket_fdinfo* find(std::uint32_t inode) const;

 private:
  NetlinkAnswer dump(NetlinkSocket& netlink, SocketProtocol protocol, std::uint8_t family);
  void readTable(SocketProtocol protocol, bool ipv6);
  void sort();

  std::string procRoot_;
  std::vector<SocketOfInode> sockets_;  ///< sorted by inode
  std::vector<char> buffer_;
};

}  // namespace zorva
