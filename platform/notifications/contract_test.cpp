// SPDX-License-Identifier: Apache-2.0
// What the notification centre promises, on the simulated handset and over a run directory.

#include <gtest/gtest.h>

#include "platform/assemble/SimHandset.h"
#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/notifications/linux/NotificationStates.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

using State = std::optional<std::uint64_t>;

// Other processes post, and set states; nothing makes one unreadable.
struct SimWorld {
  SimHandset handset;
  SimSystemNotifications& centre = handset.notifications();
  void post(const std::vector<std::string>& names) {
    for (const auto& name : names) centre.post(name);
  }
  void set(const std::string& name, State state) { centre.setState(name, state); }
};
struct LinuxWorld {
  DirectoryForTest root;
  NotificationDirectories directories{root / "run", {}, {}};
  LoopForTest loop;
  SimSystemLog log;
  LinuxSystemNotifications centre{loop, log, directories};
  void post(const std::vector<std::string>& names) {
    for (const auto& name : names) EXPECT_EQ(postNotification(directories, name).problem, "");
    loop.drain();
  }
  void set(const std::string& name, State state) {
    if (!state) return root.write("run/states/" + name, "x");
    std::string problem;
    EXPECT_TRUE(setNotificationState(directories, name, *state, problem)) << problem;
  }
};

template <typename World>
class NotificationsContract : public testing::Test {
 protected:
  World world_;
};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(NotificationsContract, Worlds);

TYPED_TEST(NotificationsContract, EveryPostReachesItsObserversUntilTheyEnd) {
  TypeParam world;
  NotificationCentre& centre = world.centre;
  std::string heard;
  const auto hearing = [&](const std::string& mark) {
    return [&heard, mark](std::string_view name) { heard += mark + std::string(name) + " "; };
  };
  world.post({"a"});
  Registration first = centre.observe("a", hearing("1"));
  Registration own, dropped, other;
  own = centre.observe("a", [&](std::string_view) {
    heard += "own ";
    own.reset();
    dropped.reset();
  });
  dropped = centre.observe("a", hearing("dropped"));
  other = centre.observe("b", hearing("2"));
  world.post({"a", "A", "b", "c", "a", "a"});
  EXPECT_EQ(std::exchange(heard, ""), "1a own 2b 1a 1a ") << "none posted before";

  // Dropped by a callback while further posts wait; and a post from inside one.
  const Registration last = centre.observe("a", [&](std::string_view) {
    other.reset();
    centre.post("d");
  });
  const Registration nested = centre.observe("d", hearing("3"));
  world.post({"a", "b"});
  EXPECT_EQ(std::exchange(heard, ""), "1a 3d ");
  first.reset();
  centre.post("a");
  EXPECT_EQ(heard, "3d ") << "before it returns";
}

TYPED_TEST(NotificationsContract, AStateIsWhatWasSetLast) {
  NotificationCentre& centre = this->world_.centre;
  EXPECT_EQ(centre.state("a"), 0u);
  for (const State state : {State(~std::uint64_t{0}), State(0), State(), State(6)}) {
    this->world_.set("a", state);
    EXPECT_EQ(centre.state("a"), state);
    EXPECT_EQ(centre.state("b"), 0u);
  }
}

}  // namespace
}  // namespace zorva
