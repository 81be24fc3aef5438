// SPDX-License-Identifier: Apache-2.0
#include "power/ZVBatteryProperties.h"

#include <cmath>
#include <gtest/gtest.h>

#include "core/ZorvaState.h"
#include "platform/assemble/SimHandset.h"

namespace zorva {
namespace {

TEST(ZVBatteryPropertiesTest, OneReadingAnswersEverythingButTheVoltage) {
  sZorvaContext.gasGaugeEnabled.reset();
  SimHandset handset;
  SimBattery& battery = handset.battery();
  ZVBatteryProperties properties(
      {handset.platform().registry, handset.platform().device, handset.platform().systemLog});
  EXPECT_DOUBLE_EQ(properties.capacity(), 80.0);
  battery.setLevel(50);
  battery.setVoltage(3333);
  EXPECT_DOUBLE_EQ(properties.capacity(), 80.0);
  EXPECT_EQ(properties.voltage(), 3333);
  properties.invalidateCache();
  EXPECT_DOUBLE_EQ(properties.capacity(), 50.0);

  battery.set("VennorRawCurrentCapacity", 1255);
  battery.set("VennorRawMaxCapacity", 2000);
  properties.invalidateCache();
  EXPECT_EQ(properties.rawCapacity(), 63) << "62.75, rounded";
  battery.set("VennorRawMaxCapacity", 0);
  battery.set("MaxCapacity", 0);
  properties.invalidateCache();
  EXPECT_EQ(properties.rawCapacity(), 0);
  EXPECT_TRUE(std::isinf(properties.capacity()));
}

TEST(WholePercent, IsDefinedForEveryLevel) {
  for (const double level : {std::nan(""), HUGE_VAL, -HUGE_VAL}) EXPECT_EQ(wholePercent(level), 0U);
  EXPECT_EQ(wholePercent(1e300), 4294967295U);
}

}  // namespace
}  // namespace zorva
