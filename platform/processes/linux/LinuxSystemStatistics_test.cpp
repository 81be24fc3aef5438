// SPDX-License-Identifier: Apache-2.0
#include "platform/processes/linux/LinuxSystemStatistics.h"

#include <algorithm>
#include <ctime>
#include <gtest/gtest.h>
#include <signal.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <tuple>
#include <unistd.h>

#include "platform/processes/linux/ProcfsParsers.h"
#include "platform/testing/ChildProcess.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {
namespace {

double secondsOf(const TimeValue& user, const TimeValue& system) {
  return user.seconds + system.seconds + (user.microseconds + system.microseconds) / 1e6;
}

TEST(LinuxSystemStatisticsTest, TellsOfAProcessWhatTheKernelTells) {
  LinuxSystemStatistics statistics;
  const bool root = geteuid() == 0;
  // Works partly in a thread that ends, and more than a coarse clock could miss.
  const ChildForTest child([&] {
    for (int i = 0; i < 20; ++i) [[maybe_unused]] const int copy = dup(0);
    [[maybe_unused]] const int set = root ? seteuid(12345) : 0;
    const auto workUntil = [](int percent) {
      while (std::clock() < percent * CLOCKS_PER_SEC / 100) continue;
    };
    std::thread(workUntil, 15).join();
    workUntil(30);
    return raise(SIGSTOP);
  });
  rusage used{};
  ASSERT_EQ(wait4(child.pid(), nullptr, WUNTRACED, &used), child.pid());
  TaskSample plain, sample;
  ASSERT_TRUE(statistics.sampleTask(child.pid(), TaskDetail::None, plain).ok());
  ASSERT_TRUE(statistics.sampleTask(child.pid(), kEveryTaskDetail, sample).ok());
  EXPECT_EQ(sample.process.user, root ? 12345u : geteuid());
  EXPECT_GT(sample.events.faults, 0u);
  EXPECT_GT(sample.events.contextSwitches, 0u);
  EXPECT_GT(sample.process.startSeconds, 1600000000);
  EXPECT_GE(sample.ports, 20u);
  EXPECT_FALSE(sample.process.zombie);
  ASSERT_EQ(sample.threads.size(), 1u);
  const double total = secondsOf(plain.basic.userTime, plain.basic.systemTime);
  const timeval &user = used.ru_utime, &system = used.ru_stime;
  const double expected = static_cast<double>(user.tv_sec + system.tv_sec) +
                          static_cast<double>(user.tv_usec + system.tv_usec) / 1e6;
  EXPECT_LE(total, expected + 1e-6);
  EXPECT_GE(total, expected - 0.021) << "two figures, each cut to whole ticks";
  const double ended = secondsOf(sample.basic.userTime, sample.basic.systemTime);
  const double live = secondsOf(sample.threads[0].userTime, sample.threads[0].systemTime);
  EXPECT_GE(ended, 0.1);
  EXPECT_GE(live, 0.1);
  EXPECT_NEAR(ended + live, total, 1e-6);

  std::vector<MemoryRegion> regions;
  ASSERT_TRUE(statistics.memoryRegions(child.pid(), regions).ok());
  EXPECT_TRUE(std::ranges::any_of(regions, &MemoryRegion::sharedFramework));
  EXPECT_TRUE(std::ranges::any_of(regions, &MemoryRegion::residentSize));
}

TEST(LinuxSystemStatisticsTest, FilesThatAreMissingOrGarbledAreFailures) {
  const DirectoryForTest root;  // in place of the kernel's files
  LinuxSystemStatistics nowhere(root / "none", root / "none");
  std::vector<std::int32_t> processes{5};
  const auto listed = nowhere.listTasks(processes);
  EXPECT_FALSE(listed.ok());
  EXPECT_EQ(listed.failed, TaskListStep::ProcessorSets);
  EXPECT_EQ(processes, std::vector<std::int32_t>{5});

  root.write("proc/stat", "garbage");
  root.write("proc/meminfo", "MemTotal: lots\n");
  root.write("proc/loadavg", "");
  root.write("proc/12/stat", std::string(10000, '('));
  for (const char* const name : {"13", "99999999999", "0", "1x"}) {
    root.write(std::string("proc/") + name + "/stat", "");
  }
  root.write("proc/3/stat",
             "3 (kthread/0:1-name longer than others) I 2 0 0 0 -1 69238880 0 0 0 0 7 250 "
             "0 0 20 0 1 0 300 0 0");
  LinuxSystemStatistics statistics(root / "proc", root / "sys");
  std::uint64_t memory = 7;
  HostCpuLoad load;
  double averages[3];
  SwapUsage swap;
  std::vector<NetworkTotals> interfaces;
  std::vector<std::string> drivers;
  EXPECT_FALSE(statistics.memorySize(memory).ok());
  EXPECT_EQ(memory, 7u);
  EXPECT_FALSE(statistics.cpuLoad(load).ok());
  EXPECT_FALSE(statistics.loadAverages(averages).ok());
  EXPECT_FALSE(statistics.swapUsage(swap).ok());
  EXPECT_FALSE(statistics.interfaceTraffic(interfaces).ok());
  EXPECT_FALSE(statistics.blockDrivers(drivers).ok());
  ASSERT_TRUE(statistics.listTasks(processes).ok());
  EXPECT_EQ(processes, (std::vector<std::int32_t>{3, 12, 13}));
  TaskSample sample;
  for (const int garbledOrGone : {12, 13, 999}) {
    const auto sampled = statistics.sampleTask(garbledOrGone, kEveryTaskDetail, sample);
    EXPECT_FALSE(sampled.ok());
    EXPECT_EQ(sampled.failed, TaskSampleStep::KernelProcess);
  }
  ASSERT_TRUE(statistics.sampleTask(3, TaskDetail::None, sample).ok());
  EXPECT_EQ(sample.process.command, "kthread/0:1-name");
  EXPECT_EQ(sample.basic.systemTime, timeOfTicks(250, sysconf(_SC_CLK_TCK)));

  // As when the process ends in the middle of the look.
  EXPECT_EQ(statistics.sampleTask(3, TaskDetail::Identity, sample).code, ENOENT);
  root.write("proc/3/task/x", "");
  for (const TaskDetail detail : {TaskDetail::Threads, TaskDetail::Events}) {
    const auto ended = statistics.sampleTask(3, detail, sample);
    EXPECT_EQ(ended.code, ESRCH);
    EXPECT_EQ(ended.failed, TaskSampleStep::TaskInformation);
  }
  const std::pair<std::string, std::int32_t> states[] = {
      {"R", kThreadRunning}, {"S", kThreadWaiting}, {"I", kThreadWaiting}, {"T", kThreadStopped}};
  for (const auto& [letter, state] : states) {
    root.write("proc/3/task/3/stat",
               "3 (x) " + letter + " 2 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 1 0 0 0 0");
    ASSERT_TRUE(statistics.sampleTask(3, TaskDetail::Threads, sample).ok()) << letter;
    EXPECT_EQ(sample.threads.at(0).runState, state) << letter;
  }
}

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

// Lines of real machines, from reports on programs that misread them; the figures as proc(5) orders
// them.
TEST(ProcfsParsersTest, LinesOfRealMachines) {
  const struct {
    const char* source;
    const char* line;
    const char* figures;  // name, state, parent, group; faults, ticks, threads, start, sizes
  } cases[] = {
      {"github.com/sysstat/sysstat/issues/28",
       "5768 (Plex New Transc) S 1264 1252 1252 0 -1 1077960704 17317 0 18 0 9260 137 0 0 15 -5 8 "
       "0 1430749 186589184 16704 18446744073709551615 1 1 0 0 0 0 0 0 8404998 "
       "18446744073709551615 0 0 17 1 0 0 22 0 0 0 0 0 0 0 0 0 0",
       "Plex New Transc S 1264 1252; 17317+18 9260+137 8 1430749 186589184 16704"},
      {"github.com/rust-psutil/rust-psutil/pull/8",
       "25097 (sle ep) S 6632 25097 6632 34837 25097 1077952512 92 0 0 0 0 0 0 0 20 0 1 0 9600533 "
       "10608640 187 18446744073709551615 4194304 4216220 140723654869264 140723654868824 "
       "139824029506976 0 0 0 0 0 0 0 17 1 0 0 0 0 0 6315552 6316432 31117312",
       "sle ep S 6632 25097; 92+0 0+0 1 9600533 10608640 187"},
      {"github.com/elastic/gosigar/issues/81",
       "1467 ((sd-pam)) S 1465 1465 1465 0 -1 1077936448 23 0 0 0 0 0 0 0 20 0 1 0 3448 63012864 "
       "566 18446744073709551615 1 1 0 0 0 0 0 4096 0 0 0 0 17 1 0 0 0 0 0 0 0 0 0 0 0 0 0",
       "(sd-pam) S 1465 1465; 23+0 0+0 1 3448 63012864 566"},
      {"github.com/shirou/gopsutil/issues/120",
       "1591 (Plex Media Serv) S 1 1591 1591 0 -1 1077952768 19063 0 306 0 257 95 0 0 20 0 17 0 "
       "1353 596594688 13330 18446744073709551615 1 1 0 0 0 0 0 4097 17646 18446744073709551615 0 "
       "0 17 4 0 0 69 0 0 0 0 0 0 0 0 0 0",
       "Plex Media Serv S 1 1591; 19063+306 257+95 17 1353 596594688 13330"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.source);
    ProcStat stat;
    ASSERT_TRUE(parseProcStat(c.line, stat));
    std::ostringstream figures;
    figures << stat.command << ' ' << stat.state << ' ' << stat.parent << ' ' << stat.group << "; "
            << stat.minorFaults << '+' << stat.majorFaults << ' ' << stat.userTicks << '+'
            << stat.systemTicks << ' ' << stat.threads << ' ' << stat.startTicks << ' '
            << stat.virtualBytes << ' ' << stat.residentPages;
    EXPECT_EQ(figures.str(), c.figures);
    EXPECT_EQ(stat.policy, 0);
  }
}

TEST(ProcfsParsersTest, ALineThatEndsEarlyOrHoldsNoNumbersIsRefused) {
  const std::string whole = "45 (zorva)" + kAfterName;
  ProcStat stat;
  // The last figure that is needed may be cut itself.
  for (std::size_t length = whole.find(" 55 ") + 1; length > 0; --length) {
    EXPECT_FALSE(parseProcStat(whole.substr(0, length), stat)) << length;
  }
  for (const char* const state : {"SS 1", "S x"}) {
    EXPECT_FALSE(parseProcStat("45 (zorva) " + (state + kAfterName.substr(4)), stat)) << state;
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
