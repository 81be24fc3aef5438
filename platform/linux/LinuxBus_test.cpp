#include "platform/linux/LinuxBus.h"

#include <gtest/gtest.h>

#include "platform/linux/Loop_test.h"
#include "platform/linux/PrivateBus_test.h"

namespace zorva {
namespace {

constexpr const char* kService = "org.zorva.Test";
constexpr const char* kPath = "/org/zorva/Test";

class LinuxBusTest : public testing::Test {
 protected:
  LinuxBus::Outcome ping(LinuxBus& bus) {
    return bus.call(kService, kPath, "org.freedesktop.DBus.Peer", "Ping").outcome;
  }

  LoopForTest loop_;
  PrivateBusForTest private_;
};

TEST_F(LinuxBusTest, FollowsTheBusAsItComesAndGoes) {
  LinuxBus bus(loop_.event(), private_.address());
  int changes = 0, services = 0, signals = 0;
  const Registration observed = bus.observeConnection([&] { ++changes; });
  const Registration watched = bus.watchService(kService, [&] { ++services; });
  const Registration matched =
      bus.matchSignals("type='signal',interface='org.zorva.Test',member='Changed'",
                       [&](sd_bus_message*) { ++signals; });
  EXPECT_EQ(ping(bus), LinuxBus::Outcome::Absent);

  // The second time it is the same, although the first bus has left its socket behind.
  for (int round = 1; round <= 2; ++round) {
    private_.start();
    loop_.runUntil([&] { return bus.connected() && changes == 2 * round - 1; });
    EXPECT_EQ(ping(bus), LinuxBus::Outcome::Absent);

    const auto service = private_.startService(kService, kPath, kService);
    loop_.runUntil([&] { return services == round; });
    EXPECT_EQ(ping(bus), LinuxBus::Outcome::Answered);
    ASSERT_GE(private_.call(kService, kPath, private_.kMock, "EmitSignal", "sssav", kService,
                            "Changed", "", 0),
              0);
    loop_.runUntil([&] { return signals == round; });

    private_.stop();
    loop_.runUntil([&] { return !bus.connected() && changes == 2 * round; });
    EXPECT_EQ(ping(bus), LinuxBus::Outcome::Absent);
  }
}

TEST_F(LinuxBusTest, ABusThatAcceptsAndSaysNothingIsLeftToTheLoop) {
  private_.start();
  const LinuxBus early(loop_.event(), private_.address());
  loop_.runUntil([&] { return early.connected(); });
  EXPECT_TRUE(LinuxBus(loop_.event(), private_.address()).connected()) << "at once";
  private_.halt();
  LinuxBus bus(loop_.event(), private_.address(), std::chrono::milliseconds(50));
  EXPECT_EQ(ping(bus), LinuxBus::Outcome::Absent);
  loop_.drain();

  // It goes away, and a better one takes its place.
  private_.stop();
  private_.start();
  loop_.runUntil([&] { return bus.connected(); });
}

}  // namespace
}  // namespace zorva
