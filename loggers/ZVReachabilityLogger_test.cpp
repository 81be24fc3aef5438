// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVReachabilityLogger.h"

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVReachabilityLoggerTest : public LoggerTest {};

TEST_F(ZVReachabilityLoggerTest, WritesNewFlagsExceptThoseWithoutAKey) {
  SimReachability& service = handset.reachability();
  auto logger = ZVReachabilityLogger::logger(services(), service);
  attach(*logger);
  for (const std::uint32_t flags : {0x10000u, 0x10000u}) service.setFlags(flags);
  EXPECT_EQ(log.takeEntries(), Lines{"[Reachability] transient=no; reachable=no; conn_required=no; "
                                     "conn_traffic=no; intervention=no; on_demand=no; wwan=no;"});
  handset.faults().fail("reachability.flags");
  logger->log();
  logger.reset();
  service.setFlags(0);
  EXPECT_EQ(log.takeEntries(), Lines{});
}

}  // namespace
}  // namespace zorva
