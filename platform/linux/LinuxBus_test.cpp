#include "platform/linux/LinuxBus.h"

#include <cstring>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "platform/linux/Loop_test.h"
#include "platform/linux/PrivateBus_test.h"

namespace zorva {
namespace {

constexpr const char* kService = "org.zorva.Test";
constexpr const char* kPath = "/org/zorva/Test";
constexpr const char* kMock = "org.freedesktop.DBus.Mock";
constexpr const char* kPeer = "org.freedesktop.DBus.Peer";

class LinuxBusTest : public testing::Test {
 protected:
  LinuxBus::Outcome ping(LinuxBus& bus) { return bus.call(kService, kPath, kPeer, "Ping").outcome; }

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
  EXPECT_FALSE(bus.connected());
  EXPECT_EQ(ping(bus), LinuxBus::Outcome::Absent);

  // The second time it is the same, although the first bus has left its socket behind.
  for (int round = 1; round <= 2; ++round) {
    private_.start();
    loop_.runUntil([&] { return bus.connected() && changes == 2 * round - 1; });
    EXPECT_EQ(ping(bus), LinuxBus::Outcome::Absent);

    const auto service = private_.startService(kService, kPath, kService);
    loop_.runUntil([&] { return services == round; });
    EXPECT_EQ(ping(bus), LinuxBus::Outcome::Answered);
    ASSERT_GE(
        private_.call(kService, kPath, kMock, "EmitSignal", "sssav", kService, "Changed", "", 0),
        0);
    loop_.runUntil([&] { return signals == round; });

    private_.stop();
    loop_.runUntil([&] { return !bus.connected() && changes == 2 * round; });
    EXPECT_EQ(ping(bus), LinuxBus::Outcome::Absent);
  }
}

TEST_F(LinuxBusTest, ABusThatAcceptsAndSaysNothingIsLeftToTheLoop) {
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  const std::string path = private_.address().substr(std::strlen("unix:path="));
  ASSERT_LT(path.size(), sizeof(name.sun_path));
  std::memcpy(name.sun_path, path.c_str(), path.size() + 1);
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&name), sizeof(name)), 0);
  ASSERT_EQ(listen(listener, 1), 0);

  LinuxBus bus(loop_.event(), private_.address(), std::chrono::milliseconds(50));
  EXPECT_EQ(ping(bus), LinuxBus::Outcome::Absent);
  loop_.drain();

  // It goes away, and a better one takes its place.
  close(listener);
  private_.start();
  loop_.runUntil([&] { return bus.connected(); });
}

}  // namespace
}  // namespace zorva
