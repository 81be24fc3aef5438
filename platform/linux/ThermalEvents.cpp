#include "platform/linux/ThermalEvents.h"

#include <array>
#include <cerrno>
#include <linux/thermal.h>
#include <netlink/genl/ctrl.h>
#include <netlink/genl/genl.h>
#include <netlink/netlink.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <utility>

namespace zorva {
namespace {

bool changesLevel(std::uint8_t event) {
  switch (event) {
    case THERMAL_GENL_EVENT_TZ_CREATE:
    case THERMAL_GENL_EVENT_TZ_DELETE:
    case THERMAL_GENL_EVENT_TZ_DISABLE:
    case THERMAL_GENL_EVENT_TZ_ENABLE:
    case THERMAL_GENL_EVENT_TZ_TRIP_UP:
    case THERMAL_GENL_EVENT_TZ_TRIP_DOWN:
    case THERMAL_GENL_EVENT_CDEV_ADD:
    case THERMAL_GENL_EVENT_CDEV_DELETE:
    case THERMAL_GENL_EVENT_CDEV_STATE_UPDATE:
      return true;
    default:
      return false;
  }
}

}  // namespace

bool thermalLevelMayHaveChanged(std::span<std::uint8_t> messages, int family) {
  auto* message = reinterpret_cast<nlmsghdr*>(messages.data());
  for (int left = static_cast<int>(messages.size()); nlmsg_ok(message, left);
       message = nlmsg_next(message, &left)) {
    if (message->nlmsg_type == family && genlmsg_valid_hdr(message, 0) &&
        changesLevel(genlmsg_hdr(message)->cmd)) {
      return true;
    }
  }
  return false;
}

void ThermalEvents::SocketRelease::operator()(nl_sock* socket) const {
  nl_socket_free(socket);
}

ThermalEvents::ThermalEvents(sd_event* event, std::function<void()> mayHaveChanged)
    : mayHaveChanged_(std::move(mayHaveChanged)), socket_(nl_socket_alloc()) {
  if (!subscribe()) {
    socket_.reset();
    return;
  }
  const auto ready = [](sd_event_source*, int, std::uint32_t, void* self) {
    static_cast<ThermalEvents*>(self)->receive();
    return 0;
  };
  sd_event_source* source = nullptr;
  sd_event_add_io(event, &source, descriptor(), EPOLLIN, ready, this);
  readable_.reset(source);
}

bool ThermalEvents::subscribe() {
  nl_sock* const socket = socket_.get();
  if (!socket || genl_connect(socket) < 0) return false;
  family_ = genl_ctrl_resolve(socket, THERMAL_GENL_FAMILY_NAME);
  const int group =
      genl_ctrl_resolve_grp(socket, THERMAL_GENL_FAMILY_NAME, THERMAL_GENL_EVENT_GROUP_NAME);
  return family_ >= 0 && group >= 0 && nl_socket_add_membership(socket, group) >= 0;
}

int ThermalEvents::descriptor() const {
  return socket_ ? nl_socket_get_fd(socket_.get()) : -1;
}

void ThermalEvents::receive() {
  // Ample: an event has a handful of small attributes.
  alignas(nlmsghdr) std::array<std::uint8_t, 8192> buffer;
  bool changed = false;
  for (;;) {
    const ssize_t length =
        ::recv(descriptor(), buffer.data(), buffer.size(), MSG_DONTWAIT | MSG_TRUNC);
    if (length < 0 && errno == EINTR) continue;
    if (length < 0 && errno == ENOBUFS) {  // some were lost
      changed = true;
      continue;
    }
    if (length < 0 && errno != EAGAIN) readable_.reset();  // rather than being woken for ever
    if (length <= 0) break;
    const auto size = static_cast<std::size_t>(length);
    changed = changed || size > buffer.size() ||
              thermalLevelMayHaveChanged(std::span(buffer).first(size), family_);
  }
  if (changed) mayHaveChanged_();
}

}  // namespace zorva
