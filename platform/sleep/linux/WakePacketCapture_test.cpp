// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/WakePacketCapture.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <time.h>

#include "platform/base/Descriptor.h"
#include "platform/testing/ChildProcess.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

constexpr int kSkipped = 77;

// An interface whose far end is the test: "tun..." without a link layer, as that of a modem is, or
// "tap..." with Ethernet's.
class Tunnel {
 public:
  Tunnel(const std::string& name, const std::string& address)
      : ethernet_(name[1] == 'a'), device_(open("/dev/net/tun", O_RDWR | O_CLOEXEC)) {
    ifreq request{};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_flags = static_cast<short>((ethernet_ ? IFF_TAP : IFF_TUN) | IFF_NO_PI);
    const std::string own = ethernet_ ? " address 02:02:02:02:02:02" : "";
    const std::string set =
        "ip link set " + name + own + " up && ip addr add " + address + "/24 dev " + name;
    up_ =
        device_ && ioctl(device_.get(), TUNSETIFF, &request) == 0 && std::system(set.c_str()) == 0;
  }
  bool up() const { return up_; }
  // The packet comes in on the interface.
  void deliver(const std::vector<std::uint8_t>& packet, bool broadcast = false) const {
    const std::uint8_t to = broadcast ? 0xff : 0x02;
    std::vector<std::uint8_t> frame;
    if (ethernet_) frame = {to, to, to, to, to, to, 2, 0, 0, 0, 0, 9, 0x08, 0x00};
    frame.insert(frame.end(), packet.begin(), packet.end());
    ASSERT_EQ(write(device_.get(), frame.data(), frame.size()), static_cast<ssize_t>(frame.size()));
  }

 private:
  bool ethernet_;
  Descriptor device_;
  bool up_ = false;
};

// A packet of this length to port 80, told apart by its identification.
std::vector<std::uint8_t> packetTo(std::uint8_t network, std::uint8_t protocol, std::size_t length,
                                   std::uint8_t identification) {
  const auto size = static_cast<std::uint8_t>(length);
  std::vector<std::uint8_t> packet{
      0x45, 0,       0, size, 0, identification, 0x40, 0,    64,   protocol, 0, 0, 10,
      0,    network, 9, 10,   0, network,        1,    0x23, 0x28, 0,        80};
  packet.resize(length, 0xAB);
  return packet;
}

// Its identification, or -1 for none.
int caught(WakePacketCapture& capture) {
  const auto packet = capture.end();
  return packet ? packet->bytes.at(5) : -1;
}

std::int64_t now() {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// In a network of the process's own with the interfaces tun0 (10.0.1.1) and tap0 (10.0.2.1).
void inOwnNetwork(const std::function<void(const Tunnel&, const Tunnel&)>& test) {
  ChildForTest child([&] {
    if (unshare(CLONE_NEWNET) != 0) return kSkipped;
    const Tunnel first("tun0", "10.0.1.1"), second("tap0", "10.0.2.1");
    if (!first.up() || !second.up()) return kSkipped;
    test(first, second);
    return testing::Test::HasFailure() ? 1 : 0;
  });
  const int status = child.status();
  if (status == kSkipped) GTEST_SKIP() << "no network namespace or no tunnel for this user";
  EXPECT_EQ(status, 0);
}

TEST(WakePacketCapture, CatchesTheFirstInboundPacketOfItsInterfaces) {
  inOwnNetwork([](const Tunnel& first, const Tunnel& second) {
    const LoopForTest loop;
    WakePacketCapture capture(loop.event());
    first.deliver(packetTo(1, IPPROTO_UDP, 40, 1));
    EXPECT_EQ(caught(capture), -1) << "not begun";

    capture.begin({"tun0", "none0"});
    EXPECT_TRUE(capture.active());
    second.deliver(packetTo(2, IPPROTO_UDP, 40, 2));
    const Descriptor sender(socket(AF_INET, SOCK_DGRAM, 0));
    EXPECT_EQ(setsockopt(sender.get(), SOL_SOCKET, SO_BINDTODEVICE, "tun0", 5), 0);
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(80);
    inet_pton(AF_INET, "10.0.1.9", &peer.sin_addr);
    EXPECT_EQ(sendto(sender.get(), "out", 3, 0, reinterpret_cast<sockaddr*>(&peer), sizeof peer),
              3);
    std::vector<std::uint8_t> ipv6(48);
    ipv6[0] = 0x60;
    first.deliver(ipv6);
    EXPECT_EQ(caught(capture), -1) << "another interface, sent by us, not IPv4";
    EXPECT_FALSE(capture.active());
    first.deliver(packetTo(1, IPPROTO_UDP, 40, 3));

    capture.begin({"none0", "tap0", "tun0"});
    second.deliver(packetTo(2, IPPROTO_UDP, 40, 4), true);
    const auto syn = packetTo(1, IPPROTO_TCP, 100, 5);
    first.deliver(syn);
    second.deliver(packetTo(2, IPPROTO_UDP, 40, 6));
    const auto packet = capture.end();
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->bytes, std::vector<std::uint8_t>(syn.begin(), syn.begin() + 64));
    EXPECT_EQ(wakeText(*packet).substr(0, 49), "Dlci 3 [pdp_2]: 45 00 00 64 00 05 40 00 40 06 00 ");
    EXPECT_EQ(wakeText(*packet).size(), std::strlen("Dlci 3 [pdp_2]:") + 3 * 64);
  });
}

TEST(WakePacketCapture, AfterASleepOnlyWhatCameThenCounts) {
  inOwnNetwork([](const Tunnel& first, const Tunnel&) {
    const LoopForTest loop;
    std::int64_t slept = 1000;
    WakePacketCapture capture(loop.event(), [&] { return slept; });
    int calls = 0;

    // Still queued when the system slept: told by its time.
    const std::int64_t before = now();
    capture.begin({"tun0"});
    const std::int64_t begun = now();
    first.deliver(packetTo(1, IPPROTO_UDP, 40, 1));
    const std::int64_t came = now();
    while (now() <= came + (begun - before) + 1'000'000) sched_yield();
    slept += now() - begun;
    first.deliver(packetTo(1, IPPROTO_UDP, 40, 2));
    EXPECT_EQ(caught(capture), 2);

    // Delivered by the loop before the sleep, and nothing after it.
    capture.begin({"tun0"}, [&] { ++calls; });
    first.deliver(packetTo(1, IPPROTO_UDP, 40, 3));
    loop.runUntil([&] { return calls == 1; });
    slept += 1'000'000;
    loop.drain();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(caught(capture), -1);
  });
}

}  // namespace
}  // namespace zorva
