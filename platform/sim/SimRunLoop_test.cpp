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

}  // namespace
}  // namespace zorva
