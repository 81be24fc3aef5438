// What the notification centre promises, on the simulated handset and on this machine.

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include "platform/assemble/SimHandset.h"
#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/notifications/linux/NotificationStates.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

constexpr const char* kName = "com.example.contract";

struct SimWorld {
  SimHandset handset;
  NotificationCentre& centre = handset.notifications();
  void setState(std::uint64_t state) { handset.notifications().setState(kName, state); }
};
struct LinuxWorld {
  struct Log : SystemLog {
    void write(std::string_view line) override { ADD_FAILURE() << line; }
  } log;
  DirectoryForTest directory;
  LoopForTest loop;
  NotificationDirectories directories{directory / "run", "", ""};
  LinuxSystemNotifications centre{loop, log, directories};
  void setState(std::uint64_t state) {
    std::string problem;
    EXPECT_TRUE(setNotificationState(directories, kName, state, problem)) << problem;
  }
};

template <typename World>
class NotificationContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(NotificationContract, Worlds);

TYPED_TEST(NotificationContract, APostReachesItsObserversBeforeItReturns) {
  TypeParam world;
  std::vector<std::string> heard;
  Registration first, second;
  first = world.centre.observe(kName, [&](std::string_view name) {
    heard.push_back("first " + std::string(name));
    first.reset();  // its own, in the middle of the post
    second.reset();
  });
  second = world.centre.observe(kName, [&](std::string_view) { heard.push_back("second"); });
  const auto third =
      world.centre.observe(kName, [&](std::string_view) { heard.push_back("third"); });
  const auto other = world.centre.observe("com.example.other",
                                          [&](std::string_view) { heard.push_back("other"); });
  ASSERT_TRUE(first && second && third && other);
  world.centre.post(kName);
  world.centre.post(kName);
  world.centre.post("com.example.nobody");
  EXPECT_EQ(heard, (std::vector<std::string>{"first com.example.contract", "third", "third"}));
}

TYPED_TEST(NotificationContract, AStateIsZeroUntilItIsSet) {
  TypeParam world;
  EXPECT_EQ(world.centre.state(kName), 0u);
  for (const std::uint64_t state : {std::uint64_t{7}, ~std::uint64_t{0}, std::uint64_t{0}}) {
    world.setState(state);
    EXPECT_EQ(world.centre.state(kName), state);
  }
  EXPECT_EQ(world.centre.state("com.example.other"), 0u);
}

}  // namespace
}  // namespace zorva
