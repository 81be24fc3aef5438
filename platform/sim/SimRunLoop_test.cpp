#include "platform/sim/SimRunLoop.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/sim/SimHandset.h"

namespace zorva {
namespace {

using namespace std::chrono_literals;
using Trace = std::vector<std::string>;

TEST(SimRunLoop, ClockTimersAndStepsMoveTogetherInOrder) {
  SimParts parts;
  SimClock clock{SimHandset::kStart};
  SimRunLoop loop{parts, clock};
  Trace trace;
  const auto note = [&](const std::string& what) {
    return [&, what] {
      const auto at = std::chrono::duration<double>(clock.elapsed()).count();
      trace.push_back(what + "@" + std::to_string(at).substr(0, 4));
    };
  };
  const Registration late = loop.startTimer(30, note("timer"));
  const Registration sameMoment = loop.startTimer(10, note("first of its moment"));
  loop.schedule(10s, note("second of its moment"));
  loop.schedule(5s, [&] {
    note("step")();
    loop.schedule(1s, note("what is past happens now"));
    clock.set(SimHandset::kStart - 24h);
  });
  loop.advance(9.5);
  EXPECT_EQ(trace, (Trace{"step@5.00", "what is past happens now@5.00"}));
  loop.advance(0.5);
  EXPECT_EQ(trace.size(), 4U);
  loop.run();
  EXPECT_EQ(trace, (Trace{"step@5.00", "what is past happens now@5.00", "first of its moment@10.0",
                          "second of its moment@10.0", "timer@30.0"}));
  EXPECT_EQ(clock.now(), SimHandset::kStart - 24h + 25s) << "set, and moved on since";
}

}  // namespace
}  // namespace zorva
