#include "platform/kit/bus/LinuxBus.h"

#include <gtest/gtest.h>

#include "platform/testing/PrivateBus.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

TEST(LinuxBus, OneThatAcceptsAndSaysNothingIsLeftToTheLoop) {
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

  // It goes away, and a better one takes its place.
  started.stop();
  started.start();
  loop.runUntil([&] { return bus.connected(); });
}

TEST(LinuxBus, OneThatHangsIsNotWaitedForAgainUntilItAnswers) {
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

}  // namespace
}  // namespace zorva
