#include "platform/kit/netlink/NetlinkRequest.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

#include "platform/base/Descriptor.h"

namespace zorva {
namespace {

using SteadyClock = std::chrono::steady_clock;
constexpr auto kLimit = std::chrono::seconds(1);

bool readableUntil(int socket, SteadyClock::time_point limit) {
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(limit - SteadyClock::now()).count();
  pollfd wait{socket, POLLIN, 0};
  return left > 0 && ::poll(&wait, 1, static_cast<int>(left)) > 0;
}

}  // namespace

NetlinkAnswer readNetlinkAnswer(std::span<const std::uint8_t> bytes,
                                const std::function<void(const nlmsghdr& message)>& each) {
  const auto* message = reinterpret_cast<const nlmsghdr*>(bytes.data());
  // Signed: a last message that is not padded takes it below 0.
  for (auto left = static_cast<int>(bytes.size()); NLMSG_OK(message, left);
       message = NLMSG_NEXT(message, left)) {
    // A dump, too, may end with an error.
    if (message->nlmsg_type == NLMSG_DONE || message->nlmsg_type == NLMSG_ERROR) {
      std::int32_t error = message->nlmsg_type == NLMSG_DONE ? 0 : -1;
      if (message->nlmsg_len >= NLMSG_LENGTH(sizeof error)) {
        std::memcpy(&error, NLMSG_DATA(message), sizeof error);
      }
      return error >= 0 ? NetlinkAnswer::Done : NetlinkAnswer::Refused;
    }
    if (message->nlmsg_type >= NLMSG_MIN_TYPE) each(*message);
  }
  return NetlinkAnswer::GoesOn;
}

bool netlinkRequest(int protocol, std::span<const std::uint8_t> request,
                    const std::function<void(const nlmsghdr& message)>& each) {
  const Descriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, protocol));
  sockaddr_nl kernel{};
  kernel.nl_family = AF_NETLINK;
  if (!socket || ::sendto(socket.get(), request.data(), request.size(), 0,
                          reinterpret_cast<sockaddr*>(&kernel), sizeof kernel) < 0) {
    return false;
  }
  const auto limit = SteadyClock::now() + kLimit;
  alignas(nlmsghdr) std::array<std::uint8_t, 32768> buffer;  // the most that the kernel puts in one
  while (readableUntil(socket.get(), limit)) {
    sockaddr_nl sender{};
    socklen_t size = sizeof sender;
    const ssize_t length = ::recvfrom(socket.get(), buffer.data(), buffer.size(), MSG_TRUNC,
                                      reinterpret_cast<sockaddr*>(&sender), &size);
    if (length < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (length <= 0 || static_cast<std::size_t>(length) > buffer.size()) return false;
    if (sender.nl_pid != 0) continue;  // not the kernel
    const NetlinkAnswer answer =
        readNetlinkAnswer(std::span(buffer).first(static_cast<std::size_t>(length)), each);
    if (answer != NetlinkAnswer::GoesOn) return answer == NetlinkAnswer::Done;
  }
  return false;
}

}  // namespace zorva
