// SPDX-License-Identifier: Apache-2.0
#include "platform/processes/linux/SocketDiagnostics.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <utility>

#include "platform/base/Descriptor.h"
#include "platform/base/Text.h"
#include "platform/processes/linux/ProcfsFiles.h"

namespace zorva {
namespace {

// The kernel's numbers of TCP states.
constexpr unsigned kKernelTimeWait = 6;
constexpr unsigned kKernelClosed = 7;
constexpr unsigned kKernelListen = 10;
constexpr unsigned kKernelNewSynReceived = 12;

using Address = std::array<std::uint8_t, 16>;

bool isMapped(const Address& address) {
  constexpr std::array<std::uint8_t, 12> kPrefix{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};
  return std::equal(kPrefix.begin(), kPrefix.end(), address.begin());
}

bool isUnset(const Address& address) {
  return address == Address{};
}

// A socket in the kernel's representation, from a dump or a table.
struct KernelSocket {
  std::uint32_t inode = 0;
  unsigned state = 0;
  bool ipv6 = false;
  bool onlyIPv6 = false;
  std::uint16_t localPort = 0;  // in network byte order
  std::uint16_t foreignPort = 0;
  Address local{};  // IPv4 addresses in the first four bytes
  Address foreign{};
};

bool carriesIPv4(const KernelSocket& socket) {
  if (!socket.ipv6) return true;
  if (isMapped(socket.local) || isMapped(socket.foreign)) return true;
  // A socket that accepts any peer of either family.
  const bool waits = socket.state == kKernelListen || socket.state == kKernelClosed;
  return waits && !socket.onlyIPv6 && isUnset(socket.local) && isUnset(socket.foreign);
}

void append(const KernelSocket& socket, SocketProtocol protocol,
            std::vector<SocketOfInode>& sockets) {
  if (socket.inode == 0 || !carriesIPv4(socket)) return;
  SocketOfInode& added = sockets.emplace_back();
  added.inode = socket.inode;
  const bool tcp = protocol == SocketProtocol::TCP;
  added.socket.soi_kind = tcp ? kSocketKindTCP : kSocketKindIPv4;
  added.socket.tcpsi_state = tcp ? tcpStateOfKernel(socket.state) : 0;
  added.socket.insi_lport = socket.localPort;
  added.socket.insi_fport = socket.foreignPort;
  // The last four bytes of a v4-mapped address; of an unset address they are 0, which is also
  // unset.
  const std::ptrdiff_t at = socket.ipv6 ? 12 : 0;
  std::copy_n(socket.local.begin() + at, 4, added.socket.insi_laddr.begin());
  std::copy_n(socket.foreign.begin() + at, 4, added.socket.insi_faddr.begin());
}

// Removes the next word of the line; empty if there is none.
std::string_view nextWord(std::string_view& line) {
  const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
  const std::size_t end = std::min(line.find(' ', begin), line.size());
  const std::string_view word = line.substr(begin, end - begin);
  line.remove_prefix(end);
  return word;
}

// "0100007F:0016": the address in words in host byte order, and the port as a plain number.
bool readEndpoint(std::string_view word, bool ipv6, Address& address, std::uint16_t& port) {
  const std::size_t digits = ipv6 ? 32 : 8;
  if (word.size() <= digits || word[digits] != ':') return false;
  for (std::size_t at = 0; at < digits; at += 8) {
    const auto part = parseNumber<std::uint32_t>(word.substr(at, 8), 16);
    if (!part) return false;
    std::memcpy(address.data() + at / 2, &*part, sizeof *part);
  }
  const auto number = parseNumber<std::uint16_t>(word.substr(digits + 1), 16);
  port = htons(number.value_or(0));
  return number.has_value();
}

// "0: 0100007F:0016 00000000:0000 0A 00000000:00000000 00:00000000 00000000 0 0 INODE ..."
bool readSocketLine(std::string_view line, KernelSocket& socket) {
  nextWord(line);
  if (!readEndpoint(nextWord(line), socket.ipv6, socket.local, socket.localPort) ||
      !readEndpoint(nextWord(line), socket.ipv6, socket.foreign, socket.foreignPort)) {
    return false;
  }
  const auto state = parseNumber<decltype(socket.state)>(nextWord(line), 16);
  for (int passed = 0; passed < 5; ++passed) nextWord(line);
  const auto inode = parseNumber<decltype(socket.inode)>(nextWord(line));
  if (!state || !inode) return false;
  socket.state = *state;
  socket.inode = *inode;
  return true;
}

}  // namespace

std::int32_t tcpStateOfKernel(unsigned state) {
  static constexpr std::int32_t kStates[] = {
      tcp::kClosed,       // 0: none
      tcp::kEstablished,  // 1: TCP_ESTABLISHED
      tcp::kSynSent,      // 2: TCP_SYN_SENT
      tcp::kSynReceived,  // 3: TCP_SYN_RECV
      tcp::kFinWait1,     // 4: TCP_FIN_WAIT1
      tcp::kFinWait2,     // 5: TCP_FIN_WAIT2
      tcp::kTimeWait,     // 6: TCP_TIME_WAIT
      tcp::kClosed,       // 7: TCP_CLOSE
      tcp::kCloseWait,    // 8: TCP_CLOSE_WAIT
      tcp::kLastAck,      // 9: TCP_LAST_ACK
      tcp::kListen,       // 10: TCP_LISTEN
      tcp::kClosing,      // 11: TCP_CLOSING
      tcp::kSynReceived,  // 12: TCP_NEW_SYN_RECV
      tcp::kClosed,       // 13: TCP_BOUND_INACTIVE, only bound
  };
  return state < std::size(kStates) ? kStates[state] : tcp::kClosed;
}

bool readSocketMessage(const nlmsghdr& header, SocketProtocol protocol,
                       std::vector<SocketOfInode>& sockets) {
  if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY) return true;
  inet_diag_msg message;
  const auto attributes = attributesAfter(header, sizeof message);
  if (!attributes) return false;
  std::memcpy(&message, NLMSG_DATA(&header), sizeof message);
  KernelSocket socket;
  socket.inode = message.idiag_inode;
  socket.state = message.idiag_state;
  socket.ipv6 = message.idiag_family == AF_INET6;
  socket.localPort = message.id.idiag_sport;
  socket.foreignPort = message.id.idiag_dport;
  static_assert(sizeof message.id.idiag_src == sizeof(Address));
  std::memcpy(socket.local.data(), message.id.idiag_src, sizeof(Address));
  std::memcpy(socket.foreign.data(), message.id.idiag_dst, sizeof(Address));
  if (socket.ipv6) {
    const auto only = attributes->find(INET_DIAG_SKV6ONLY);
    socket.onlyIPv6 = only && !only->empty() && only->front() != 0;
  }
  append(socket, protocol, sockets);
  return true;
}

void readSocketTable(std::string_view text, SocketProtocol protocol, bool ipv6,
                     std::vector<SocketOfInode>& sockets) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    KernelSocket socket;
    socket.ipv6 = ipv6;
    if (readSocketLine(text.substr(0, end), socket)) append(socket, protocol, sockets);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

SocketDiagnostics::SocketDiagnostics(std::string procRoot) : procRoot_(std::move(procRoot)) {}

void SocketDiagnostics::take() {
  sockets_.clear();
  NetlinkSocket netlink(NETLINK_SOCK_DIAG);
  bool answers = true;
  for (const auto protocol : {SocketProtocol::TCP, SocketProtocol::UDP}) {
    for (const bool ipv6 : {false, true}) {
      const NetlinkAnswer answer =
          answers ? dump(netlink, protocol, ipv6 ? AF_INET6 : AF_INET) : NetlinkAnswer::Refused;
      if (answer == NetlinkAnswer::Done) continue;
      // Repeating the request would not help.
      if (answer == NetlinkAnswer::Incomplete) answers = false;
      readTable(protocol, ipv6);
    }
  }
  sort();
}

void SocketDiagnostics::readTables() {
  sockets_.clear();
  for (const auto protocol : {SocketProtocol::TCP, SocketProtocol::UDP}) {
    for (const bool ipv6 : {false, true}) readTable(protocol, ipv6);
  }
  sort();
}

void SocketDiagnostics::sort() {
  std::sort(sockets_.begin(), sockets_.end(),
            [](const auto& a, const auto& b) { return a.inode < b.inode; });
}

const socket_fdinfo* SocketDiagnostics::find(std::uint32_t inode) const {
  const auto found = std::lower_bound(
      sockets_.begin(), sockets_.end(), inode,
      [](const auto& socket, std::uint32_t wanted) { return socket.inode < wanted; });
  return found != sockets_.end() && found->inode == inode ? &found->socket : nullptr;
}

NetlinkAnswer SocketDiagnostics::dump(NetlinkSocket& netlink, SocketProtocol protocol,
                                      std::uint8_t family) {
  struct {
    nlmsghdr header;
    inet_diag_req_v2 request;
  } message{};
  message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  message.request.sdiag_family = family;
  message.request.sdiag_protocol = protocol == SocketProtocol::TCP ? IPPROTO_TCP : IPPROTO_UDP;
  message.request.idiag_states = ~(1U << kKernelTimeWait | 1U << kKernelNewSynReceived);

  const std::size_t before = sockets_.size();
  bool whole = true;
  const NetlinkAnswer answer = netlink.request(
      {reinterpret_cast<std::uint8_t*>(&message), sizeof message},
      [&](const nlmsghdr& each) { whole = readSocketMessage(each, protocol, sockets_) && whole; },
      [&] { sockets_.resize(before); });
  // If the list was interrupted again, only a few sockets can be missing.
  if (whole && (answer == NetlinkAnswer::Done || answer == NetlinkAnswer::Interrupted)) {
    return NetlinkAnswer::Done;
  }
  sockets_.resize(before);
  return answer == NetlinkAnswer::Incomplete ? answer : NetlinkAnswer::Refused;
}

void SocketDiagnostics::readTable(SocketProtocol protocol, bool ipv6) {
  constexpr std::size_t kStep = 65536;
  const std::string path =
      procRoot_ + (protocol == SocketProtocol::TCP ? "/net/tcp" : "/net/udp") + (ipv6 ? "6" : "");
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) return;
  std::size_t length = 0;
  for (;;) {
    buffer_.resize(std::max(buffer_.size(), length + kStep));
    const ssize_t count = readFully(file.get(), std::span(buffer_).subspan(length));
    if (count <= 0) break;
    length += static_cast<std::size_t>(count);
    if (length < buffer_.size()) break;
  }
  readSocketTable({buffer_.data(), length}, protocol, ipv6, sockets_);
}

}  // namespace zorva
