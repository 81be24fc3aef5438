// SPDX-License-Identifier: Apache-2.0
// Datagrams: anything sent to the notification socket, and the kernel's netlink replies. For any
// bytes, a datagram is received as a post exactly if it is one, nothing is read past a message's
// end, and the values read are in range.
//
// An input is a byte for the kind and the datagram.

#include <cstdint>
#include <memory>
#include <sys/socket.h>
#include <sys/un.h>

#include "platform/kit/netlink/GenericNetlink.h"
#include "platform/notifications/linux/NotificationSocket.h"
#include "platform/processes/linux/SocketDiagnostics.h"
#include "platform/reachability/linux/RouteMessages.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/thermal/linux/ThermalEvents.h"
#include "platform/wifi/linux/WirelessMessages.h"
#include "tests/fuzz/Require.h"

namespace zorva {
namespace {

struct Daemon {
  Daemon() {
    std::string problem;
    socket = NotificationSocket::make(directory / "run", problem);
    sockaddr_un address{AF_UNIX, {}};
    (directory / ("run/" + std::to_string(::getpid()) + "-0.socket")).copy(address.sun_path, 107);
    REQUIRE(::connect(poster.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
  }
  DirectoryForTest directory;
  std::unique_ptr<NotificationSocket> socket;
  Descriptor poster{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
};

void checkPost(Daemon& daemon, std::string_view text) {
  const bool isPost = text.starts_with("ZVN1") && isNotificationName(text.substr(4));
  REQUIRE(::send(daemon.poster.get(), text.data(), text.size(), 0) >= 0);
  const std::vector<std::string> heard = daemon.socket->takePosts();
  REQUIRE(heard.size() == (isPost ? 1 : 0) && (!isPost || "ZVN1" + heard[0] == text));
}

void checkNetlink(std::span<std::uint8_t> bytes) {
  std::map<int, NetworkLink> links;
  std::vector<CarrierRoute> routes;
  std::size_t messages = 0;
  std::vector<SocketOfInode> sockets;
  NetlinkReader().read(bytes, [&](const nlmsghdr& message) {
    ++messages;
    readSocketMessage(message, SocketProtocol::TCP, sockets);
    readLink(message, links);
    readCarrierRoutes(message, routes);
    linkOfLookup(message);
    if (const auto interface = wirelessInterfaceIn(message)) {
      REQUIRE(!interface->ssid || (!interface->ssid->empty() && interface->ssid->size() <= 32));
      REQUIRE(interface->name.size() < bytes.size());
    }
    REQUIRE(!wakesOnWireless(message) || !wakeOnWirelessIsSet(message));  // different commands
    if (const auto family = genericFamilyIn(message)) {
      REQUIRE(family->groups.size() < bytes.size() / 8);
    }
  });
  REQUIRE(messages <= bytes.size() / NLMSG_HDRLEN && links.size() <= messages);
  for (const auto& [index, link] : links) REQUIRE(link.name.size() < bytes.size());
  ThermalChanges changes;
  readThermalEvents(bytes, 20, changes);

  for (const SocketOfInode& each : sockets) {
    REQUIRE(each.inode != 0 && each.socket.tcpsi_state <= tcp::kTimeWait);
    REQUIRE(each.socket.insi_lport <= 0xFFFF && each.socket.insi_fport <= 0xFFFF);
  }
}

}  // namespace
}  // namespace zorva

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static zorva::Daemon daemon;
  if (size == 0) return 0;
  // A copy of exactly the datagram, with its alignment.
  const auto bytes = std::make_unique<std::uint8_t[]>(size - 1);
  std::copy(data + 1, data + size, bytes.get());
  if (data[0] % 2 == 0) {
    zorva::checkPost(daemon, {reinterpret_cast<const char*>(bytes.get()), size - 1});
  } else {
    zorva::checkNetlink({bytes.get(), size - 1});
  }
  return 0;
}
