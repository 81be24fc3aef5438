// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/bus/LinuxBus.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "platform/base/Descriptor.h"
#include "platform/testing/PrivateBus.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

TEST(LinuxBus, ASilentBusIsLeftToTheLoop) {
  const LoopForTest loop;
  PrivateBusForTest started;
  started.start();
  const LinuxBus early(loop.event(), started.address());
  loop.runUntil([&] { return early.connected(); });
  EXPECT_TRUE(LinuxBus(loop.event(), started.address()).connected()) << "at once";
  started.halt();
  LinuxBus bus(loop.event(), started.address(), std::chrono::milliseconds(50));
  EXPECT_EQ(bus.call("org.zorva.Test", "/", "org.freedesktop.DBus.Peer", "Ping").outcome,
            LinuxBus::Outcome::Absent);
  loop.drain();

  // It ends, and a working bus replaces it.
  started.stop();
  started.start();
  loop.runUntil([&] { return bus.connected(); });
}

TEST(LinuxBus, AHangingBusIsNotCalledUntilItReplies) {
  const LoopForTest loop;
  PrivateBusForTest started;
  started.start();
  LinuxBus bus(loop.event(), started.address(), std::chrono::milliseconds(200));
  loop.runUntil([&] { return bus.connected(); });
  loop.drain();
  const auto ask = [&] {
    return bus
        .call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId")
        .outcome;
  };
  EXPECT_EQ(ask(), LinuxBus::Outcome::Answered);
  started.halt();
  EXPECT_EQ(ask(), LinuxBus::Outcome::Failed);
  started.resume();
  EXPECT_EQ(ask(), LinuxBus::Outcome::Failed) << "the loop has not heard of it yet";
  bool reported = false;
  const Registration registration = bus.observeConnection([&] { reported = true; });
  loop.runUntil([&] { return reported; });
  EXPECT_EQ(ask(), LinuxBus::Outcome::Answered);
}

TEST(LinuxBus, ABusThatDropsItsClientsIsCalledLessAndLessOften) {
  using std::chrono::milliseconds;
  LoopForTest loop;
  const DirectoryForTest directory;
  const Descriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (directory / "bus").copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listener.get(), 5), 0);
  int calls = 0;
  const LinuxBus bus(loop.event(), "unix:path=" + (directory / "bus"), milliseconds(10),
                     milliseconds(250));
  const Registration watch = loop.watchDescriptor(listener.get(), [&] {
    const Descriptor dropped(accept(listener.get(), nullptr, nullptr));
    ++calls;
  });
  // Twice immediately, then after 250, 500 and 1000 milliseconds; each timer may fire 250 ms late.
  const auto start = std::chrono::steady_clock::now();
  loop.runUntil([&] { return calls == 5; });
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(1700));
}

}  // namespace
}  // namespace zorva
