#include "platform/linux/LinuxNetworkInterfaces.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <gtest/gtest.h>
#include <linux/if_packet.h>
#include <map>
#include <net/ethernet.h>
#include <net/if.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/linux/ChildForTest.h"

namespace zorva {
namespace {

// The counters of the link-layer elements of everything but loopback, by interface.
std::map<std::string, NetworkInterfaces::Counters> links(
    const std::vector<NetworkInterfaces::Address>& addresses) {
  std::map<std::string, NetworkInterfaces::Counters> links;
  for (const auto& address : addresses) {
    if (!address.linkLayer || address.loopback) continue;
    EXPECT_TRUE(address.counters) << address.interface;
    EXPECT_TRUE(links.emplace(address.interface, address.counters.value()).second)
        << address.interface << " is listed twice";
  }
  return links;
}

TEST(LinuxNetworkInterfaces, CountsTheBytesOfEveryLink) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may make interfaces";
  inChildForTest([] {
    ASSERT_EQ(unshare(CLONE_NEWNET), 0);
    LinuxNetworkInterfaces interfaces;
    ASSERT_EQ(links(interfaces.addresses().value()).size(), 0u);
    // No protocol of the kernel's own may use the pair, so that it carries nothing but ours.
    ASSERT_EQ(std::system("ip link add left type veth peer name right && "
                          "ip link set left arp off addrgenmode none up && "
                          "ip link set right arp off addrgenmode none up && "
                          "ip addr add 192.0.2.1/24 dev left && ip link set lo up"),
              0);
    const auto before = links(interfaces.addresses().value());
    ASSERT_EQ(before.size(), 2u);

    const int sender = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
    ASSERT_GE(sender, 0);
    sockaddr_ll to{};
    to.sll_family = AF_PACKET;
    to.sll_ifindex = static_cast<int>(if_nametoindex("left"));
    char frame[1000] = {};
    ASSERT_EQ(
        sendto(sender, frame, sizeof(frame), 0, reinterpret_cast<const sockaddr*>(&to), sizeof(to)),
        static_cast<ssize_t>(sizeof(frame)));
    close(sender);

    const auto addresses = interfaces.addresses().value();
    const auto after = links(addresses);
    EXPECT_EQ(after.at("left").sent - before.at("left").sent, sizeof(frame));
    EXPECT_EQ(after.at("left").received, before.at("left").received);
    EXPECT_EQ(after.at("right").received - before.at("right").received, sizeof(frame));

    // Loopback is told apart, and other addresses are elements without counters.
    int loopbacks = 0, others = 0;
    for (const auto& address : addresses) {
      if (address.loopback && address.linkLayer) ++loopbacks;
      if (address.interface == "left" && !address.linkLayer) {
        ++others;
        EXPECT_FALSE(address.counters);
      }
    }
    EXPECT_EQ(loopbacks, 1);
    EXPECT_EQ(others, 1);
  });
}

}  // namespace
}  // namespace zorva
