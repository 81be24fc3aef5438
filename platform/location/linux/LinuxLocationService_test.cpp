// SPDX-License-Identifier: Apache-2.0
#include "platform/location/linux/LinuxLocationService.h"

#include <gtest/gtest.h>

#include "platform/base/Observers.h"
#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/system/linux/LinuxSystemLog.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

TEST(LinuxLocationServiceTest, KnowsTheModemsSourcesByTheirBits) {
  using Codes = std::vector<std::int64_t>;
  const DirectoryForTest directory;
  LoopForTest loop;
  LinuxSystemLog log(loop);
  LinuxSystemNotifications notifications(loop, log, {directory / "", "", ""});
  LinuxBus bus(loop.event(), "unix:path=" + (directory / "none"));
  std::uint32_t sources = 1;
  Observers<> modems;
  LinuxLocationService location(
      loop.event(), bus,
      {[&] { return sources; },
       [&](std::function<void()> changed) { return modems.add(std::move(changed)); }},
      notifications);
  int reported = 0;
  const Registration heard = notifications.observe(kLocationTechnologyStatusChanged,
                                                   [&](std::string_view) { ++reported; });
  EXPECT_EQ(location.copyTechnologiesInUse(), Codes{6});
  const auto set = [&](std::uint32_t bits) {
    sources = bits;
    modems.notify();
    loop.drain();
    return location.copyTechnologiesInUse();
  };
  // Raw and managed by others are both GPS; help for GPS is no source, so it is no news.
  EXPECT_EQ(set(0x76), Codes({1, 2}));
  EXPECT_EQ(set(0x16), Codes({1, 2}));
  EXPECT_EQ(reported, 1);
  EXPECT_EQ(set(0x1F), Codes({1, 2, 6}));
  EXPECT_EQ(set(0x08), Codes{6});
  EXPECT_EQ(reported, 3);
}

}  // namespace
}  // namespace zorva
