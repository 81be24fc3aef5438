// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/netlink/NetlinkSocket.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>

namespace zorva {
namespace {

using SteadyClock = std::chrono::steady_clock;
constexpr auto kLimit = std::chrono::seconds(1);
constexpr std::size_t kMaxDatagram = 65536;  // the kernel sends none above 32 KiB

Descriptor bound(int protocol, int flags) {
  Descriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | flags, protocol));
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  if (!socket || ::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    return {};
  }
  return socket;
}

}  // namespace

NetlinkSocket::NetlinkSocket(int protocol) : socket_(bound(protocol, 0)) {
  const timeval limit{.tv_sec = std::chrono::seconds(kLimit).count(), .tv_usec = 0};
  ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

NetlinkAnswer NetlinkSocket::request(std::span<std::uint8_t> request,
                                     const NetlinkReader::Each& each,
                                     const std::function<void()>& again) {
  nlmsghdr header;
  std::memcpy(&header, request.data(), sizeof header);
  header.nlmsg_len = static_cast<std::uint32_t>(request.size());
  header.nlmsg_seq = ++sequence_;
  std::memcpy(request.data(), &header, sizeof header);
  sockaddr_nl kernel{};
  kernel.nl_family = AF_NETLINK;
  if (!socket_ || ::sendto(socket_.get(), request.data(), request.size(), 0,
                           reinterpret_cast<sockaddr*>(&kernel), sizeof kernel) < 0) {
    return NetlinkAnswer::Incomplete;
  }
  // Not initialised: that would cost more than the rest of a request.
  if (!buffer_) buffer_ = std::make_unique_for_overwrite<std::uint8_t[]>(kMaxDatagram);
  NetlinkReader reader(sequence_);
  // An endless reply ends, too: a limit of a second per datagram is not enough.
  const auto limit = SteadyClock::now() + kLimit;
  do {
    sockaddr_nl sender{};
    socklen_t size = sizeof sender;
    const ssize_t length = ::recvfrom(socket_.get(), buffer_.get(), kMaxDatagram, MSG_TRUNC,
                                      reinterpret_cast<sockaddr*>(&sender), &size);
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) return NetlinkAnswer::Incomplete;
    if (length == 0 || static_cast<std::size_t>(length) > kMaxDatagram) {
      return NetlinkAnswer::Refused;
    }
    if (sender.nl_pid != 0) continue;  // not the kernel
    const NetlinkAnswer answer =
        reader.read({buffer_.get(), static_cast<std::size_t>(length)}, each);
    if (answer == NetlinkAnswer::Interrupted && again) {
      again();
      return this->request(request, each);
    }
    if (answer != NetlinkAnswer::Incomplete) return answer;
  } while (SteadyClock::now() < limit);
  return NetlinkAnswer::Incomplete;
}

Descriptor openNetlink(int protocol, const std::vector<std::uint32_t>& groups) {
  Descriptor socket = bound(protocol, SOCK_NONBLOCK);
  for (const std::uint32_t group : groups) {
    ::setsockopt(socket.get(), SOL_NETLINK, NETLINK_ADD_MEMBERSHIP, &group, sizeof group);
  }
  return socket;
}

}  // namespace zorva
