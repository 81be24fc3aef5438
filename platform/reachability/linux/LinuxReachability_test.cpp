// SPDX-License-Identifier: Apache-2.0
#include "platform/reachability/linux/LinuxReachability.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <utility>
#include <vector>

#include "platform/testing/ChildProcess.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

constexpr int kSkipped = 77;

bool ip(const std::string& command) {
  return std::system(("ip " + command + " 2>/dev/null").c_str()) == 0;
}

TEST(LinuxReachability, FollowsDefaultRoutesInANetworkOfItsOwn) {
  ChildForTest child([] {
    if (unshare(CLONE_NEWNET) != 0) return kSkipped;
    // Two cables, both of whose ends are here.
    for (const char* name : {"wwan7", "lan0"}) {
      const std::string link = name;
      if (!ip("link add name " + link + " type veth peer name " + link + "p")) return kSkipped;
      EXPECT_TRUE(
          ip("addr add 10.9." + std::string(link == "lan0" ? "2" : "1") + ".1/24 dev " + link));
      EXPECT_TRUE(ip("link set " + link + " up") && ip("link set " + link + "p up"));
    }
    EXPECT_TRUE(ip("link add name any type veth peer name anyp"));
    EXPECT_TRUE(ip("link set any up") && ip("link set anyp up"));
    const DirectoryForTest links;  // shows the two devices, and the ports of two bridges
    for (const char* file : {"wwan7/device/uevent", "lan0/device/uevent", "br5/lower_lan0p",
                             "br6/lower_anyp", "br6/lower_wwan7p"}) {
      links.write(file, "");
    }
    // Without its ports a bridge is the same as a tunnel.
    for (const auto& [bridge, port] : {std::pair<std::string, std::string>{"br5", "lan0p"},
                                       {"br6", "wwan7p"},
                                       {"tun5", "anyp"}}) {
      if (!ip("link add name " + bridge + " type bridge")) return kSkipped;
      EXPECT_TRUE(ip("link set " + port + " master " + bridge));
      EXPECT_TRUE(bridge == "tun5" || ip("link set " + bridge + " up"));
    }
    const LoopForTest loop;
    LinuxReachability service(loop.event(), links / "");
    const auto target = service.createTarget({});
    std::vector<std::uint32_t> reported;
    EXPECT_TRUE(target->setCallback([&](std::uint32_t flags) { reported.push_back(flags); }));
    auto scheduled = target->schedule();
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
      if (flags != before) loop.runUntil([&] { return !reported.empty(); });
      loop.drain();
      EXPECT_EQ(reported, flags == before ? std::vector<std::uint32_t>{} : std::vector{flags})
          << command;
      EXPECT_EQ(target->flags(), flags) << command;
      reported.clear();
      before = flags;
    }
    scheduled.reset();
    ip("link set lan0 up");
    ip("route add default via 10.9.2.2 metric 70");
    loop.drain();
    EXPECT_EQ(reported, std::vector<std::uint32_t>{});
    return testing::Test::HasFailure() ? 1 : 0;
  });
  const int status = child.status();
  if (status == kSkipped) GTEST_SKIP() << "no network namespace or no veth links for this user";
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace zorva
