// SPDX-License-Identifier: Apache-2.0
#include "power/ZVThermalLogger.h"

#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

class ZVThermalLoggerTest : public LoggerTest {};

TEST_F(ZVThermalLoggerTest, WritesThePlausibleReadingsOfTheReadableStates) {
  const auto logger = ZVThermalLogger::logger(services(), handset.platform().thermal);
  attach(*logger);
  // Each of four readings: the bounds themselves are implausible, their neighbours are not.
  const std::pair<std::optional<std::uint64_t>, const char*> states[] = {
      {0x0000'0000'0BB8'0A8C, " s0.0=27.00; s0.1=30.00;"},
      {0x7D00'7CFF'0065'0064, " s1.1=1.01; s1.2=319.99;"},
      {std::nullopt, ""},
      {0xFFFF'0000'0000'0000, ""},
      {0x0D05'0000'0000'0000, " s4.0=20.00; s4.3=33.33;"},
      {0, ""},
  };
  std::string sensors;
  for (std::size_t index = 0; index < std::size(states); ++index) {
    handset.notifications().setState(kThermalSensorValues[index], states[index].first);
    sensors += states[index].second;
  }
  handset.thermal().setTemperature(4, 0, 20.0);  // its neighbours stay as they were set
  logger->log();
  EXPECT_EQ(log.takeEntries(), Lines{"[Thermal] level=0;" + sensors});
}

}  // namespace
}  // namespace zorva
