#include "platform/linux/LinuxRunLoop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace zorva {
namespace {

TEST(LinuxRunLoop, CallsBackUntilRegistrationIsDropped) {
  LinuxRunLoop loop;
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  std::string calls;
  Registration dropped = loop.startTimer(0.0, [&] { calls += "dropped "; });
  dropped.reset();
  Registration watch, timer, again;
  watch = loop.watchDescriptor(ends[0], [&] {
    char byte;
    ASSERT_EQ(::read(ends[0], &byte, 1), 1);
    calls += byte;
    if (byte == 'b') {
      watch.reset();
      loop.stop();
    }
  });
  ASSERT_TRUE(watch);
  EXPECT_FALSE(loop.watchDescriptor(-1, [] {}));
  ASSERT_EQ(::write(ends[1], "abc", 3), 3);
  loop.stop();
  loop.run();
  EXPECT_EQ(calls, "ab");

  timer = loop.startTimer(-1.0, [&] {
    timer.reset();  // what the callback holds must outlive this
    calls += " timer";
    again = loop.startTimer(0.001, [&] { loop.stop(); });
  });
  loop.run();
  EXPECT_EQ(calls, "ab timer");
  ::close(ends[0]);
  ::close(ends[1]);
}

}  // namespace
}  // namespace zorva
