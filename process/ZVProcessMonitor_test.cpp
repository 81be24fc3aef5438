// SPDX-License-Identifier: Apache-2.0
#include "process/ZVProcessMonitor.h"

#include <algorithm>
#include <string>

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

using Operation = SimSystemStatistics::Operation;

class ZVProcessMonitorTest : public LoggerTest {
 protected:
  ZVProcessMonitorTest() {
    for (const pid_t pid : {1, 23, 45, 61}) statistics.removeTask(pid);
    attach(*monitor);
  }

  SimSystemStatistics& statistics = handset.statistics();
  std::unique_ptr<ZVProcessMonitor> monitor =
      ZVProcessMonitor::logger(services(), statistics, handset.accounts());
};

TEST_F(ZVProcessMonitorTest, ListsTheBusiestFirstAndEqualsByProcessId) {
  statistics.setTask(30, "late", {4, 0});
  statistics.setTask(12, "early", {4, 900000});
  statistics.setTask(7, "idle", {0, 900000});
  statistics.setTask(99, "busy\nname\xff", {812, 0});
  statistics.task(7).sample.threads[0].userTime = {0, 150000};
  monitor->log();
  EXPECT_EQ(log.takeEntries(), Lines{"[ProcessMonitor] busy\\x0aname\uFFFD(99)=812; early(12)=4; "
                                     "late(30)=4; idle(7)=1;"});
  EXPECT_EQ(statistics.lastDetail(), TaskDetail::None);
  EXPECT_EQ(statistics.calls(Operation::LoadAverages), 0);
  EXPECT_EQ(statistics.calls(Operation::MemoryRegions), 0);
}

TEST_F(ZVProcessMonitorTest, AnEntryListsThe999Busiest) {
  for (std::int32_t i = 1; i <= 1200; ++i) statistics.setTask(i, "p", {i, 0});
  const std::string body = ZVProcessMonitor::sampleBody(statistics, handset.accounts());
  EXPECT_EQ(std::ranges::count(body, ';'), 999);
  EXPECT_TRUE(body.starts_with(" p(1200)=1200; p(1199)=1199;"));
  EXPECT_TRUE(body.ends_with(" p(202)=202;"));
}

}  // namespace
}  // namespace zorva
