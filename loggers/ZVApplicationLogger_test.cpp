#include "loggers/ZVApplicationLogger.h"

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

using State = SimApplicationStates::State;
using Reasons = std::vector<std::int32_t>;

class ZVApplicationLoggerTest : public LoggerTest {};

TEST_F(ZVApplicationLoggerTest, ListsActiveOnesAndWritesEveryChange) {
  SimApplicationStates& applications = handset.applications();
  auto logger = ZVApplicationLogger::logger(services(), applications);
  attach(*logger);
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{});

  applications.setApplication("com.example.mail", {State::Foreground, 91});
  applications.setApplication("odd\n50% %n", {State::Suspended, std::nullopt});
  applications.setApplication("com.example.gone", {State::Terminated, std::nullopt});
  applications.setApplication("com.example.debugged", {State::Foreground, 92, true});
  logger->log();
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Application] id=com.example.mail; pid=91; mode=foreground; reason=<unknown>;",
                   "[Application] id=odd\\x0a50% %n; pid=<unknown>; mode=suspended; "
                   "reason=<unknown>;"}));

  const std::string mail = "com.example.mail";
  applications.tell({mail, 95, 2, Reasons{2}});
  applications.tell({mail, std::nullopt, std::nullopt, Reasons{2, 3, 99}});
  applications.tell({mail, -1, 77, Reasons{}});
  handset.faults().fail("applications.processOf");
  applications.tell({mail, std::nullopt, 1, std::nullopt});
  applications.tell({});
  EXPECT_EQ(log.takeEntries(),
            (Lines{"[Application] id=com.example.mail; pid=95; mode=background; reason=audio;",
                   "[Application] id=com.example.mail; pid=91; mode=foreground; "
                   "reason=audio location reason-99;",
                   "[Application] id=com.example.mail; pid=-1; mode=state-77; reason=;",
                   "[Application] id=com.example.mail; pid=<unknown>; mode=suspended; "
                   "reason=<unknown>;",
                   "[Application] id=(null); pid=<unknown>; mode=terminated; reason=<unknown>;"}));
  EXPECT_TRUE(applications.generating());
  logger.reset();
  EXPECT_FALSE(applications.generating());
}

}  // namespace
}  // namespace zorva
