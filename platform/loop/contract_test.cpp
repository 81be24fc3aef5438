// SPDX-License-Identifier: Apache-2.0
// What every platform must keep, seen on the simulated handset and on this machine alike.

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "platform/assemble/SimHandset.h"
#include "platform/loop/linux/LinuxRunLoop.h"

namespace zorva {
namespace {

using Calls = std::vector<std::string>;

struct SimDevice {
  SimHandset handset;
  RunLoop& runLoop = handset.runLoop();
};
struct LinuxDevice {
  LinuxRunLoop runLoop;
};

template <typename Device>
class PlatformContract : public ::testing::Test {
 protected:
  Device device;
  Calls calls;
  std::function<void()> calling(const std::string& name) {
    return [this, name] { calls.push_back(name); };
  }
};
using Devices = ::testing::Types<SimDevice, LinuxDevice>;
TYPED_TEST_SUITE(PlatformContract, Devices);

TYPED_TEST(PlatformContract, TimersFireOnceInTheirOrderUnlessDropped) {
  RunLoop& loop = this->device.runLoop;
  loop.stop();  // before run() it does not count
  const auto last = loop.startTimer(0.6, [&] {
    this->calls.push_back("last");
    loop.stop();
  });
  Registration own;
  Registration other = loop.startTimer(0.3, this->calling("dropped by another"));
  own = loop.startTimer(0.0, [&] {
    this->calls.push_back("first");
    own.reset();
    other.reset();
  });
  loop.startTimer(0.0, this->calling("dropped at once")).reset();
  loop.run();
  EXPECT_EQ(this->calls, (Calls{"first", "last"}));
}

TYPED_TEST(PlatformContract, DescriptorsAreWatchedUntilDropped) {
  RunLoop& loop = this->device.runLoop;
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ASSERT_EQ(::write(ends[1], "ab", 2), 2);
  Registration watch;
  watch = loop.watchDescriptor(ends[0], [&] {  // again as long as something is left to read
    char byte = 0;
    EXPECT_EQ(::read(ends[0], &byte, 1), 1);
    this->calls.push_back(std::string(1, byte));
    if (byte == 'b') watch.reset();
  });
  ASSERT_TRUE(watch);
  const auto more = loop.startTimer(0.0, [&] { EXPECT_EQ(::write(ends[1], "c", 1), 1); });
  const auto end = loop.startTimer(0.3, [&] { loop.stop(); });
  loop.run();
  EXPECT_EQ(this->calls, (Calls{"a", "b"}));
  EXPECT_FALSE(loop.watchDescriptor(-1, [] {}));
  ::close(ends[0]);
  ::close(ends[1]);
}

}  // namespace
}  // namespace zorva
