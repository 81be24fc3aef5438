#include "loggers/ZVGeodyneLogger.h"

#include <cmath>

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVGeodyneLoggerTest : public LoggerTest {
 protected:
  ZVGeodyneLoggerTest() { attach(*logger); }
  SimLocationService& location = handset.location();
  std::unique_ptr<ZVGeodyneLogger> logger = ZVGeodyneLogger::logger(services(), location);
};

TEST_F(ZVGeodyneLoggerTest, WritesTechnologiesOnlyWhenTheListIsAnother) {
  const std::string allOff =
      "[Geodyne] gps=off; nmea=off; accessory=off; wifi=off; skyhook=off; cell=off; lac=off; "
      "mcc=off; gps_coarse=off;";
  const std::string some =
      "[Geodyne] gps=on; nmea=off; accessory=off; wifi=on; skyhook=off; cell=off; lac=off; "
      "mcc=off; gps_coarse=on;";
  const struct {
    std::vector<std::int64_t> inUse;
    Lines entries;
  } cases[] = {
      {{}, {allOff}},          {{}, {}}, {{9, 1, 4}, {some}}, {{9, 1, 4}, {}},
      {{1, 4, 9}, {some}},      // the order alone
      {{1, 4, 9, 12}, {some}},  // a code that is not written
  };
  for (const auto& [inUse, entries] : cases) {
    location.setTechnologies(inUse);
    EXPECT_EQ(log.takeEntries(), entries) << inUse.size();
  }
  location.setTechnologies({2, 3, 5, 6, 7, 8});
  EXPECT_EQ(log.takeEntries(),
            Lines{"[Geodyne] gps=off; nmea=on; accessory=on; wifi=off; skyhook=on; cell=on; "
                  "lac=on; mcc=on; gps_coarse=off;"});
}

TEST_F(ZVGeodyneLoggerTest, WritesClientsEveryTime) {
  logger->logTechnologies();
  log.takeEntries();
  const struct {
    Dictionary client;
    const char* fields;
  } cases[] = {
      {{{"BundleId", "com.example.maps"}, {"Executable", "maps"}, {"LocationDesiredAccuracy", -1}},
       "id=com.example.maps; accuracy=-1.0; filter=0.0; location=inactive; monitoring=inactive;"},
      {{{"BundleId", "b\n"},
        {"RoleId", "50%"},
        {"LocationDistanceFilter", 99.95},
        {"LocationTimeStarted", 500.0},
        {"FenceTimeStarted", 0.5}},
       "id=b\\x0a-50%; accuracy=0.0; filter=100.0; location=active; monitoring=active;"},
      {{{"Executable", "wifid"},
        {"RoleId", "none"},
        {"LocationTimeStarted", 500.0},
        {"LocationTimeStopped", 500},
        {"FenceTimeStarted", 501},
        {"FenceTimeStopped", 500.9}},
       "id=wifid; accuracy=0.0; filter=0.0; location=inactive; monitoring=active;"},
      {{{"LocationTimeStarted", std::nan("")},
        {"FenceTimeStarted", 5},
        {"FenceTimeStopped", "never"}},
       "id=<unknown>; accuracy=0.0; filter=0.0; location=inactive; monitoring=inactive;"},
  };
  Lines expected;
  for (const auto& [client, fields] : cases) {
    location.setClient(std::to_string(expected.size()), client);
    expected.push_back(std::string("[Geodyne Client] ") + fields);
    EXPECT_EQ(log.takeEntries(), expected);
  }
  logger->log();
  EXPECT_EQ(log.takeEntries(), expected) << "with the same technologies";
}

}  // namespace
}  // namespace zorva
