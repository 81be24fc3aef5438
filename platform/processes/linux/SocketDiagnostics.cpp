#include "platform/processes/linux/SocketDiagnostics.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
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

// The kernel sends no datagram of a dump above 32 KiB.
constexpr std::size_t kDatagramSize = 65536;
constexpr timeval kPatience{.tv_sec = 1, .tv_usec = 0};

using Address = std::array<std::uint8_t, 16>;

bool isMapped(const Address& address) {
  constexpr std::array<std::uint8_t, 12> kPrefix{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};
  return std::equal(kPrefix.begin(), kPrefix.end(), address.begin());
}

bool isUnset(const Address& address) {
  return address == Address{};
}

// A socket as the kernel has it, whichever way it was told.
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
  // One that waits for whoever comes, from either family.
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
  // The last four bytes of a v4-mapped address; of one not set they are 0, which is not set too.
  const std::ptrdiff_t at = socket.ipv6 ? 12 : 0;
  std::copy_n(socket.local.begin() + at, 4, added.socket.insi_laddr.begin());
  std::copy_n(socket.foreign.begin() + at, 4, added.socket.insi_faddr.begin());
}

template <typename Record>
bool copyRecord(std::span<const char> bytes, Record& record) {
  if (bytes.size() < sizeof record) return false;
  std::memcpy(&record, bytes.data(), sizeof record);
  return true;
}

std::span<const char> after(std::span<const char> bytes, std::size_t length) {
  return bytes.subspan(std::min(bytes.size(), length));
}

// False when the message does not hold a whole record.
bool readMessage(std::span<const char> payload, SocketProtocol protocol,
                 std::vector<SocketOfInode>& sockets) {
  inet_diag_msg message;
  if (!copyRecord(payload, message)) return false;
  KernelSocket socket;
  socket.inode = message.idiag_inode;
  socket.state = message.idiag_state;
  socket.ipv6 = message.idiag_family == AF_INET6;
  socket.localPort = message.id.idiag_sport;
  socket.foreignPort = message.id.idiag_dport;
  static_assert(sizeof message.id.idiag_src == sizeof(Address));
  std::memcpy(socket.local.data(), message.id.idiag_src, sizeof(Address));
  std::memcpy(socket.foreign.data(), message.id.idiag_dst, sizeof(Address));
  payload = after(payload, NLMSG_ALIGN(sizeof message));
  nlattr attribute;
  while (socket.ipv6 && copyRecord(payload, attribute)) {
    if (attribute.nla_len < NLA_HDRLEN || attribute.nla_len > payload.size()) break;
    if (attribute.nla_type == INET_DIAG_SKV6ONLY && attribute.nla_len > NLA_HDRLEN) {
      socket.onlyIPv6 = payload[NLA_HDRLEN] != 0;
    }
    payload = after(payload, NLA_ALIGN(attribute.nla_len));
  }
  append(socket, protocol, sockets);
  return true;
}

// Takes the next word of the line, empty when there is none.
std::string_view nextWord(std::string_view& line) {
  const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
  const std::size_t end = std::min(line.find(' ', begin), line.size());
  const std::string_view word = line.substr(begin, end - begin);
  line.remove_prefix(end);
  return word;
}

// "0100007F:0016": the address in words of the machine's own byte order, and the port in plain.
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
      tcp::kClosed,       // 13: TCP_BOUND_INACTIVE, bound and no more
  };
  return state < std::size(kStates) ? kStates[state] : tcp::kClosed;
}

DumpStep readDumpDatagram(std::span<const char> datagram, SocketProtocol protocol,
                          std::uint32_t sequence, bool& interrupted,
                          std::vector<SocketOfInode>& sockets) {
  nlmsghdr header;
  while (copyRecord(datagram, header)) {
    if (header.nlmsg_len < NLMSG_HDRLEN || header.nlmsg_len > datagram.size()) break;
    const auto payload = datagram.subspan(NLMSG_HDRLEN, header.nlmsg_len - NLMSG_HDRLEN);
    datagram = after(datagram, NLMSG_ALIGN(header.nlmsg_len));
    if (header.nlmsg_seq != sequence) continue;  // of a dump given up before
    interrupted |= (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
    if (header.nlmsg_type == NLMSG_DONE) {
      int error = 0;  // a dump may end with one
      if (copyRecord(payload, error) && error < 0) return DumpStep::Failed;
      return interrupted ? DumpStep::Interrupted : DumpStep::Done;
    }
    if (header.nlmsg_type == NLMSG_ERROR) return DumpStep::Failed;
    if (header.nlmsg_type == SOCK_DIAG_BY_FAMILY && !readMessage(payload, protocol, sockets)) {
      return DumpStep::Failed;
    }
  }
  return datagram.empty() ? DumpStep::More : DumpStep::Failed;
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
  const Descriptor netlink(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
  ::setsockopt(netlink.get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
  bool answers = static_cast<bool>(netlink);
  for (const auto protocol : {SocketProtocol::TCP, SocketProtocol::UDP}) {
    for (const bool ipv6 : {false, true}) {
      errno = 0;
      if (answers && dump(netlink.get(), protocol, ipv6 ? AF_INET6 : AF_INET)) continue;
      if (errno == EAGAIN) answers = false;  // asking again would only take as long again
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

bool SocketDiagnostics::dump(int netlink, SocketProtocol protocol, std::uint8_t family) {
  struct {
    nlmsghdr header;
    inet_diag_req_v2 request;
  } message{};
  message.header.nlmsg_len = sizeof message;
  message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  message.request.sdiag_family = family;
  message.request.sdiag_protocol = protocol == SocketProtocol::TCP ? IPPROTO_TCP : IPPROTO_UDP;
  message.request.idiag_states = ~(1U << kKernelTimeWait | 1U << kKernelNewSynReceived);
  sockaddr_nl kernel{};
  kernel.nl_family = AF_NETLINK;

  const std::size_t before = sockets_.size();
  for (int tries = 0; tries < 2; ++tries) {
    sockets_.resize(before);
    message.header.nlmsg_seq = ++sequence_;
    if (::sendto(netlink, &message, sizeof message, 0, reinterpret_cast<sockaddr*>(&kernel),
                 sizeof kernel) < 0) {
      return false;
    }
    const DumpStep end = receive(netlink, protocol);
    if (end == DumpStep::Done) return true;
    if (end == DumpStep::Failed) {
      sockets_.resize(before);
      return false;
    }
  }
  return true;  // interrupted twice: few sockets can be missing
}

DumpStep SocketDiagnostics::receive(int netlink, SocketProtocol protocol) {
  buffer_.resize(kDatagramSize);
  bool interrupted = false;
  for (;;) {
    // With MSG_TRUNC the length is the datagram's own, also where it did not fit.
    const ssize_t length = ::recv(netlink, buffer_.data(), buffer_.size(), MSG_TRUNC);
    if (length < 0 && errno == EINTR) continue;
    if (length <= 0 || static_cast<std::size_t>(length) > buffer_.size()) return DumpStep::Failed;
    const DumpStep step = readDumpDatagram({buffer_.data(), static_cast<std::size_t>(length)},
                                           protocol, sequence_, interrupted, sockets_);
    if (step != DumpStep::More) return step;
  }
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
