// SPDX-License-Identifier: Apache-2.0
#include "platform/thermal/linux/ThermalEvents.h"

#include <array>
#include <cerrno>
#include <linux/thermal.h>
#include <optional>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <utility>

#include "platform/kit/netlink/GenericNetlink.h"
#include "platform/kit/netlink/NetlinkSocket.h"

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

bool thermalLevelMayHaveChanged(std::span<const std::uint8_t> messages, int family) {
  bool changed = false;
  NetlinkReader().read(messages, [&](const nlmsghdr& message) {
    const auto generic = genericMessageIn(message);
    changed =
        changed || (message.nlmsg_type == family && generic && changesLevel(generic->command));
  });
  return changed;
}

ThermalEvents::ThermalEvents(sd_event* event, std::function<void()> mayHaveChanged)
    : mayHaveChanged_(std::move(mayHaveChanged)) {
  std::optional<GenericFamily> family;
  findGenericFamily(THERMAL_GENL_FAMILY_NAME, family);
  if (!family || !family->groups.contains(THERMAL_GENL_EVENT_GROUP_NAME)) return;
  family_ = family->id;
  socket_ = openNetlink(NETLINK_GENERIC, {family->groups.at(THERMAL_GENL_EVENT_GROUP_NAME)});
  if (!socket_) return;
  const auto ready = [](sd_event_source*, int, std::uint32_t, void* self) {
    static_cast<ThermalEvents*>(self)->receive();
    return 0;
  };
  sd_event_source* source = nullptr;
  sd_event_add_io(event, &source, descriptor(), EPOLLIN, ready, this);
  readable_.reset(source);
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
