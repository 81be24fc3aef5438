// SPDX-License-Identifier: Apache-2.0
#include "platform/thermal/linux/ThermalEvents.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <linux/filter.h>
#include <linux/thermal.h>
#include <optional>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <utility>
#include <vector>

#include "platform/kit/netlink/GenericNetlink.h"
#include "platform/kit/netlink/NetlinkSocket.h"

namespace zorva {
namespace {

constexpr std::uint8_t kEvents[] = {
    THERMAL_GENL_EVENT_TZ_CREATE,        THERMAL_GENL_EVENT_TZ_DELETE,
    THERMAL_GENL_EVENT_TZ_DISABLE,       THERMAL_GENL_EVENT_TZ_ENABLE,
    THERMAL_GENL_EVENT_TZ_TRIP_UP,       THERMAL_GENL_EVENT_TZ_TRIP_DOWN,
    THERMAL_GENL_EVENT_CDEV_ADD,         THERMAL_GENL_EVENT_CDEV_DELETE,
    THERMAL_GENL_EVENT_CDEV_STATE_UPDATE};

void readEvent(const GenericMessage& message, ThermalChanges& changes) {
  switch (message.command) {
    case THERMAL_GENL_EVENT_CDEV_STATE_UPDATE: {
      const auto device = message.attributes.number(THERMAL_GENL_ATTR_CDEV_ID);
      const auto state = message.attributes.number(THERMAL_GENL_ATTR_CDEV_CUR_STATE);
      if (!device || !state) break;
      changes.states[static_cast<std::int32_t>(*device)] = *state;
      return;
    }
    // The states follow in events of their own, unless a program sets them.
    case THERMAL_GENL_EVENT_TZ_TRIP_UP:
    case THERMAL_GENL_EVENT_TZ_TRIP_DOWN:
    case THERMAL_GENL_EVENT_TZ_DISABLE:
    case THERMAL_GENL_EVENT_TZ_ENABLE: {
      const auto zone = message.attributes.number(THERMAL_GENL_ATTR_TZ_ID);
      if (!zone) break;
      changes.zones.insert(static_cast<std::int32_t>(*zone));
      return;
    }
    default:
      if (std::find(std::begin(kEvents), std::end(kEvents), message.command) == std::end(kEvents)) {
        return;
      }
  }
  changes.anything = true;
}

}  // namespace

void readThermalEvents(std::span<const std::uint8_t> messages, int family,
                       ThermalChanges& changes) {
  NetlinkReader().read(messages, [&](const nlmsghdr& message) {
    const auto generic = genericMessageIn(message);
    if (message.nlmsg_type == family && generic) readEvent(*generic, changes);
  });
}

// The command stands right after the message's header. The kernel multicasts one message at a time.
bool dropOtherThermalEvents(int socket) {
  std::vector<sock_filter> program{BPF_STMT(BPF_LD | BPF_B | BPF_ABS, sizeof(nlmsghdr))};
  for (const std::uint8_t event : kEvents) {
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, event, 0, 1));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, 0xFFFF'FFFF));
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, 0));
  const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  return ::setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter) == 0;
}

ThermalEvents::ThermalEvents(sd_event* event, Handler changed) : changed_(std::move(changed)) {
  std::optional<GenericFamily> family;
  findGenericFamily(THERMAL_GENL_FAMILY_NAME, family);
  if (!family || !family->groups.contains(THERMAL_GENL_EVENT_GROUP_NAME)) return;
  family_ = family->id;
  socket_ = openNetlink(NETLINK_GENERIC, {family->groups.at(THERMAL_GENL_EVENT_GROUP_NAME)});
  if (!socket_) return;
  dropOtherThermalEvents(descriptor());
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
  ThermalChanges changes;
  for (;;) {
    const ssize_t length =
        ::recv(descriptor(), buffer.data(), buffer.size(), MSG_DONTWAIT | MSG_TRUNC);
    if (length < 0 && errno == EINTR) continue;
    if (length < 0 && errno == ENOBUFS) {  // some were lost
      changes.anything = true;
      continue;
    }
    if (length < 0 && errno != EAGAIN) readable_.reset();  // rather than being woken for ever
    if (length <= 0) break;
    const auto size = static_cast<std::size_t>(length);
    if (size > buffer.size()) {
      changes.anything = true;
    } else {
      readThermalEvents(std::span(buffer).first(size), family_, changes);
    }
  }
  if (changes.any()) changed_(changes);
}

}  // namespace zorva
