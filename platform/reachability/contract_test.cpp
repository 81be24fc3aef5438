// SPDX-License-Identifier: Apache-2.0
// What the reachability of the network promises, on the simulated handset and in a network
// namespace.

#include <cstdlib>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <utility>
#include <vector>

#include "platform/assemble/SimHandset.h"
#include "platform/reachability/linux/LinuxReachability.h"
#include "platform/testing/ChildProcess.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

enum class Way { None, Cable, Mobile };
constexpr std::uint32_t kCable = reachability::kReachable;
constexpr std::uint32_t kMobile = reachability::kReachable | reachability::kIsWWAN;

bool ip(const std::string& command) {
  return std::system(("ip " + command + " 2>/dev/null").c_str()) == 0;
}

// Each world has no way to the network at first.
struct SimWorld {
  SimHandset handset;
  Reachability& service = handset.reachability();
  bool prepare() {
    take(Way::None);
    return true;
  }
  void take(Way way) {
    handset.reachability().setFlags(way == Way::None ? 0 : way == Way::Cable ? kCable : kMobile);
  }
  void deliver() { handset.runLoop().advance(0); }
};
struct LinuxWorld {
  DirectoryForTest links;
  LoopForTest loop;
  LinuxReachability service{loop.event(), links / ""};
  bool prepare() {
    if (unshare(CLONE_NEWNET) != 0) return false;
    for (const std::string link : {"lan0", "wwan7"}) {
      links.write(link + "/device/uevent", "");
      if (!ip("link add name " + link + " type veth peer name " + link + "p") ||
          !ip("addr add 10.9." + std::string(link == "lan0" ? "2" : "1") + ".1/24 dev " + link) ||
          !ip("link set " + link + " up") || !ip("link set " + link + "p up")) {
        return false;
      }
    }
    return true;
  }
  static void take(Way way) {
    EXPECT_TRUE(ip(way == Way::None    ? "route del default"
                   : way == Way::Cable ? "route replace default via 10.9.2.2"
                                       : "route replace default via 10.9.1.2"));
  }
  // What the kernel announced is ready to be read when the command has ended.
  void deliver() { loop.drain(); }
};

template <typename World>
class ReachabilityContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(ReachabilityContract, Worlds);

TYPED_TEST(ReachabilityContract, ChangesAreReportedToScheduledTargetsUntilDropped) {
  using Flags = std::vector<std::uint32_t>;
  runInChild([] {
    TypeParam world;
    if (!world.prepare()) return false;
    auto target = world.service.createTarget({});
    auto other = world.service.createTarget({{192, 0, 2, 1}, 80});
    const auto unscheduled = world.service.createTarget({});
    if (!target || !other || !unscheduled) return ADD_FAILURE(), true;
    Flags reported, otherReported, unscheduledReported;
    EXPECT_TRUE(target->setCallback([](std::uint32_t) { ADD_FAILURE() << "replaced"; }));
    EXPECT_TRUE(target->setCallback([&](std::uint32_t flags) {
      reported.push_back(flags);
      EXPECT_EQ(target->flags(), flags);
    }));
    Registration otherScheduled;
    EXPECT_TRUE(other->setCallback([&](std::uint32_t flags) {
      otherReported.push_back(flags);
      otherScheduled.reset();
      other.reset();
    }));
    EXPECT_TRUE(unscheduled->setCallback(
        [&](std::uint32_t flags) { unscheduledReported.push_back(flags); }));
    auto scheduled = target->schedule();
    otherScheduled = other->schedule();
    EXPECT_EQ(target->flags(), 0u);
    const auto take = [&](Way way) {
      world.take(way);
      world.deliver();
      return std::exchange(reported, {});
    };
    EXPECT_EQ(take(Way::Cable), Flags{kCable});
    EXPECT_EQ(take(Way::Cable), Flags{}) << "the same as before";
    EXPECT_EQ(take(Way::Mobile), Flags{kMobile});
    EXPECT_EQ(take(Way::None), Flags{0});
    scheduled.reset();
    EXPECT_EQ(take(Way::Cable), Flags{});
    EXPECT_EQ(target->flags(), kCable);
    EXPECT_EQ(otherReported, Flags{kCable});
    EXPECT_EQ(unscheduledReported, Flags{});
    return true;
  });
}

TEST(LinuxReachability, FollowsDefaultRoutesInANetworkOfItsOwn) {
  runInChild([] {
    LinuxWorld world;  // two cables, both of whose ends are here
    if (!world.prepare() || !ip("link add name any type veth peer name anyp")) return false;
    EXPECT_TRUE(ip("link set any up") && ip("link set anyp up"));
    for (const char* port : {"br5/lower_lan0p", "br6/lower_anyp", "br6/lower_wwan7p"}) {
      world.links.write(port, "");  // shows the ports of two bridges
    }
    // Without its ports a bridge is the same as a tunnel.
    for (const auto& [bridge, port] : {std::pair<std::string, std::string>{"br5", "lan0p"},
                                       {"br6", "wwan7p"},
                                       {"tun5", "anyp"}}) {
      if (!ip("link add name " + bridge + " type bridge")) return false;
      EXPECT_TRUE(ip("link set " + port + " master " + bridge));
      EXPECT_TRUE(bridge == "tun5" || ip("link set " + bridge + " up"));
    }
    const auto target = world.service.createTarget({});
    std::vector<std::uint32_t> reported;
    EXPECT_TRUE(target->setCallback([&](std::uint32_t flags) { reported.push_back(flags); }));
    const auto scheduled = target->schedule();
    EXPECT_EQ(target->flags(), 0u) << "links without a default route";

    const std::pair<const char*, std::uint32_t> steps[] = {
        {"route add default via 10.9.1.2 metric 50", 0x40002},
        {"route add default via 10.9.2.2 metric 70", 0x40002},  // the other one is taken
        {"route add 10.20.0.0/16 via 10.9.2.2", 0x40002},
        {"link set wwan7 down", 0x2},
        {"route del default via 10.9.2.2", 0x0},
        {"route add unreachable default metric 20", 0x0},
        {"route add default metric 9 nexthop via 10.9.2.2 nexthop via 10.9.2.3", 0x2},
        {"link set lan0p down", 0x0},  // no carrier
        {"link set lan0p up", 0x2},
        {"route add unreachable default metric 1", 0x0},  // the better one
        {"route del unreachable default metric 1", 0x2},
        {"link set wwan7 up", 0x2},
        {"route del default metric 9", 0x0},
        // A virtual private network over the modem: halves, with the default route left as it was.
        {"link set tun5 up", 0x0},
        {"route add 0.0.0.0/1 dev tun5", 0x0},
        {"route add 128.0.0.0/1 dev tun5", 0x2},
        {"route add default via 10.9.1.2", 0x40002},
        {"route del default via 10.9.1.2", 0x2},
        {"route add 192.0.2.1 via 10.9.1.2", 0x40002},  // only its server by the modem
        {"route add default dev br5", 0x2},  // its ports carry it, whatever other ways there are
        {"link del tun5", 0x2},
        {"route replace default dev br6", 0x40002},
        {"route del default", 0x0},
        {"-6 route add default dev wwan7", 0x40002},
        {"link set wwan7 down", 0x0},
        {"link set lan0 down", 0x0}};
    std::uint32_t before = 0;
    for (const auto& [command, flags] : steps) {
      EXPECT_TRUE(ip(command)) << command;
      if (flags != before) world.loop.runUntil([&] { return !reported.empty(); });
      world.loop.drain();
      EXPECT_EQ(reported, flags == before ? std::vector<std::uint32_t>{} : std::vector{flags})
          << command;
      EXPECT_EQ(target->flags(), flags) << command;
      reported.clear();
      before = flags;
    }
    return true;
  });
}

}  // namespace
}  // namespace zorva
