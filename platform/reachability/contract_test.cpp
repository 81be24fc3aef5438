// SPDX-License-Identifier: Apache-2.0
// What the reachability of the network promises, on the simulated handset and in a network
// namespace.

#include <cstdlib>
#include <gtest/gtest.h>
#include <sched.h>

#include "platform/assemble/SimHandset.h"
#include "platform/reachability/linux/LinuxReachability.h"
#include "platform/testing/ChildProcess.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

constexpr int kSkipped = 77;
enum class Way { None, Cable, Mobile };
constexpr std::uint32_t kCable = reachability::kReachable;
constexpr std::uint32_t kMobile = reachability::kReachable | reachability::kIsWWAN;

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
  static bool ip(const std::string& command) {
    return std::system(("ip " + command + " 2>/dev/null").c_str()) == 0;
  }
};

template <typename World>
class ReachabilityContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(ReachabilityContract, Worlds);

TYPED_TEST(ReachabilityContract, ChangesAreReportedToScheduledTargetsUntilDropped) {
  using Flags = std::vector<std::uint32_t>;
  ChildForTest child([] {
    TypeParam world;
    if (!world.prepare()) return kSkipped;
    auto target = world.service.createTarget({});
    auto other = world.service.createTarget({{192, 0, 2, 1}, 80});
    const auto unscheduled = world.service.createTarget({});
    if (!target || !other || !unscheduled) return 1;
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
    return testing::Test::HasFailure() ? 1 : 0;
  });
  const int status = child.status();
  if (status == kSkipped) GTEST_SKIP() << "no network namespace or no veth links for this user";
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace zorva
