#include "platform/sim/SimRunLoop.h"

#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "platform/sim/SimHandset.h"

namespace zorva {
namespace {

using namespace std::chrono_literals;
using Trace = std::vector<std::string>;

class SimRunLoopTest : public ::testing::Test {
 protected:
  std::function<void()> note(const std::string& what) {
    return [this, what] {
      const auto at = std::chrono::duration<double>(clock.elapsed()).count();
      trace.push_back(what + "@" + std::to_string(at).substr(0, 4));
    };
  }

  SimParts parts;
  SimClock clock{SimHandset::kStart};
  SimRunLoop loop{parts, clock};
  Trace trace;
};

TEST_F(SimRunLoopTest, ClockTimersAndStepsMoveTogetherInOrder) {
  const Registration late = loop.startTimer(30, note("timer"));
  const Registration sameMoment = loop.startTimer(10, note("first of its moment"));
  loop.schedule(10s, note("second of its moment"));
  loop.schedule(5s, [&] {
    note("step")();
    loop.schedule(1s, note("what is past happens now"));
  });
  loop.run();
  EXPECT_EQ(trace, (Trace{"step@5.00", "what is past happens now@5.00", "first of its moment@10.0",
                          "second of its moment@10.0", "timer@30.0"}));
  EXPECT_EQ(clock.now(), SimHandset::kStart + 30s);
}

TEST_F(SimRunLoopTest, DroppedTimersNeverFire) {
  Registration dropped = loop.startTimer(1, note("dropped before"));
  dropped.reset();
  Registration second = loop.startTimer(3, note("dropped by another"));
  Registration first;
  first = loop.startTimer(2, [&] {
    note("drops both")();
    first.reset();
    second.reset();
  });
  loop.run();
  EXPECT_EQ(trace, Trace{"drops both@2.00"});
}

TEST_F(SimRunLoopTest, StopEndsTheRunAndAnEarlierOneDoesNotCount) {
  loop.schedule(1s, [&] {
    note("stops")();
    loop.stop();
  });
  loop.schedule(1s, note("after"));
  loop.stop();
  loop.run();
  EXPECT_EQ(trace, Trace{"stops@1.00"});
  loop.run();
  EXPECT_EQ(trace, (Trace{"stops@1.00", "after@1.00"}));
}

TEST_F(SimRunLoopTest, AdvanceGoesExactlySoFarAndSettingTheClockLeavesTimersAlone) {
  const Registration timer = loop.startTimer(10, note("timer"));
  clock.set(SimHandset::kStart - 24h);
  loop.advance(9.5);
  EXPECT_TRUE(trace.empty());
  loop.advance(0.5);
  EXPECT_EQ(trace, Trace{"timer@10.0"});
  loop.advance(5);
  EXPECT_EQ(clock.now(), SimHandset::kStart - 24h + 15s);
}

TEST_F(SimRunLoopTest, DescriptorsAreServedAfterEveryStepUntilTheyAreQuiet) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  Registration watch;
  watch = loop.watchDescriptor(ends[0], [&] {
    char byte = 0;
    ASSERT_EQ(read(ends[0], &byte, 1), 1);
    note(std::string("read ") + byte)();
    if (byte == 'z') watch.reset();
  });
  loop.schedule(1s, [&] { ASSERT_EQ(write(ends[1], "ab", 2), 2); });
  loop.schedule(1s, note("next step"));
  loop.schedule(2s, [&] { ASSERT_EQ(write(ends[1], "zy", 2), 2); });
  loop.run();
  EXPECT_EQ(trace, (Trace{"read a@1.00", "read b@1.00", "next step@1.00", "read z@2.00"}));

  // One that is never read holds up nothing.
  watch = loop.watchDescriptor(ends[0], [] {});
  loop.schedule(3s, note("step"));
  loop.run();
  EXPECT_EQ(trace.back(), "step@3.00");
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
}  // namespace zorva
