// SPDX-License-Identifier: Apache-2.0
#include "platform/processes/linux/ProcfsParsers.h"

#include <gtest/gtest.h>
#include <string>
#include <tuple>

namespace zorva {
namespace {

// From the letter of the state on, with 17 s of user and 3 s of system time.
const std::string kAfterName =
    " S 1 2 3 0 -1 4194560 11 12 13 14 1700 300 5 6 20 0 4 0 9000 8192 55 18446744073709551615 1 1 "
    "0 0 0 0 0 0 0 0 0 0 17 3 0 1 0 0 0\n";

TEST(ProcfsParsersTest, TheNameOfAProcessMayHoldAnything) {
  const std::string kNames[] = {"zorva",   "a b",      ") R 1 9 9", "((",   "))",
                                "x\ny) S", "\xff\xc0", "",          "  )  "};
  for (const std::string& name : kNames) {
    const std::string text = "45 (" + name + ")" + kAfterName;
    ProcStat stat;
    ASSERT_TRUE(parseProcStat(text, stat)) << name;
    EXPECT_EQ(std::tie(stat.command, stat.state, stat.parent, stat.group, stat.flags),
              std::tuple(name, 'S', 1, 2, 4194560u));
    EXPECT_EQ(std::tie(stat.minorFaults, stat.majorFaults, stat.userTicks, stat.systemTicks),
              std::tuple(11u, 13u, 1700u, 300u));
    EXPECT_EQ(std::tie(stat.threads, stat.startTicks, stat.virtualBytes),
              std::tuple(4u, 9000u, 8192u));
    EXPECT_EQ(std::tie(stat.residentPages, stat.policy), std::tuple(55u, 1));
  }
}

TEST(ProcfsParsersTest, NumbersAreHeldToTheirTypes) {
  const std::string huge = "99999999999999999999999";
  const std::string text = "1 (a) R " + huge + " -" + huge + " 3 4 5 " + huge + " " + huge +
                           " 8 9 10 " + huge + " " + huge + " 13 14 15 16 17 18 " + huge +
                           " 20 -1 22 23";
  ProcStat stat;
  ASSERT_TRUE(parseProcStat(text, stat));
  EXPECT_EQ(stat.parent, INT32_MAX);
  EXPECT_EQ(stat.group, INT32_MIN);
  EXPECT_EQ(stat.flags, UINT32_MAX);
  EXPECT_EQ(stat.userTicks, UINT64_MAX);
  EXPECT_EQ(stat.residentPages, 0u);
  const TimeValue time = timeOfTicks(stat.userTicks, 100);
  EXPECT_EQ(time.seconds, INT32_MAX);
  EXPECT_LT(time.microseconds, 1000000);
  EXPECT_EQ(timeOfTicks(1234, 100), (TimeValue{12, 340000}));
}

TEST(ProcfsParsersTest, ReadsTheHostsFigures) {
  HostStat stat;
  EXPECT_TRUE(
      parseHostStat("cpu  10 20 30 40 5 6 7 8 9 0\ncpu0 1 2 3 4\nbtime 1700000000\n", stat));
  EXPECT_EQ(stat.load, (HostCpuLoad{10, 43, 45, 20}));
  EXPECT_EQ(stat.bootSeconds, 1700000000);
  EXPECT_TRUE(parseHostStat("cpu  4294967297 1 1 1", stat));
  EXPECT_EQ(stat.load.user, 1u) << "32 bits, wrapping";
  EXPECT_FALSE(parseHostStat("cpu 1 2 3\nbtime 5\n", stat));
  EXPECT_FALSE(parseHostStat("", stat));

  std::vector<NetworkTotals> interfaces;
  parseInterfaceTraffic(
      "Inter-|   Receive\n face |bytes    packets errs\n"
      "    lo: 5000000000 7 0 0 0 0 0 0 6 8 0 0 0 0 0 0\n  cut: 1 2 3\n"
      "wlan:0:9 1 0 0 0 0 0 0 2 3 0 0 0 0 0 0\n",
      interfaces);
  EXPECT_EQ(interfaces, (std::vector<NetworkTotals>{{7, 8, 5000000000, 6}, {1, 3, 9, 2}}));

  DiskTotals totals;
  EXPECT_TRUE(parseDiskStat("   10 1 20 5 30 2 40 6 0 0 0\n", totals));
  EXPECT_EQ(totals, (DiskTotals{10, 20 * 512, 30, 40 * 512}));
  EXPECT_FALSE(parseDiskStat("10 1 20 5 30 2", totals));
}

TEST(ProcfsParsersTest, ReadsMappings) {
  std::vector<MemoryRegion> regions;
  parseMappings(
      "Rss: 9 kB\n"
      "1000-3000 r-xp 00000000 08:02 77   /usr/lib/libc.so.6\nRss:  4 kB\nShared_Clean: 4 kB\n"
      "3000-4000 rw-p 00000000 08:02 77   /usr/lib/libc.so.6\nRss:  4 kB\nShared_Clean: 0 kB\n"
      "5000-9000 rw-p 00000000 00:00 0    [heap]\nRss:  8 kB\nShared_Dirty: 4 kB\n"
      "a000-b000 rw-s 00000000 00:01 78   /memfd:x (deleted)\n"
      "b000-a000 rw-s 00000000 00:01 78\nzz\n1-2\n"
      "c000-d000 r-xp 00000000 08:02 79 /bin/my.sorted\nShared_Clean: 4 kB\n"
      "e000-f000 r--p 00001000 08:02 77   /usr/lib/libc.so (deleted)",
      regions);
  ASSERT_EQ(regions.size(), 6u);
  std::string kinds;  // shared with others, or a shared framework as well
  for (const MemoryRegion& region : regions) {
    kinds += std::string(region.shared ? "s" : "-") + (region.sharedFramework ? "f " : " ");
  }
  EXPECT_EQ(kinds, "sf - - s s -f ");
  EXPECT_EQ(regions[0].virtualSize, 0x2000u);
  EXPECT_EQ(regions[0].residentSize, 4096u);
  EXPECT_EQ(regions[1].object, regions[0].object);
  EXPECT_EQ(regions[2].object, 0u) << "none that others could map";
  EXPECT_NE(regions[3].object, regions[0].object);
  EXPECT_NE(regions[5].object, regions[0].object) << "other pages of the file";
}

}  // namespace
}  // namespace zorva
