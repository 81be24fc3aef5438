// SPDX-License-Identifier: Apache-2.0
#include "platform/assemble/SimPowerModel.h"

#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "platform/assemble/Scenario.h"
#include "platform/assemble/SimHandset.h"
#include "platform/base/Text.h"

namespace zorva {
namespace {

using Lines = std::vector<std::string>;

// The battery is small: one percent is 1000 J.
constexpr const char* kModel =
    "  power_model: {energy: 27.777777777777779, voltage: 10, asleep: 0.5, awake: 4, "
    "display: 0.01, cpu: 5, wifi_traffic: 2, modem_traffic: 3, call: 1.5, audio: 0.25, "
    "counters: {cpu: [process], all: [asleep, awake, display, process, wifi, modem, audio]}}\n";

class SimPowerModelTest : public ::testing::Test {
 protected:
  void begin(const std::string& device, const std::string& steps) {
    port->addToRunLoop();
    port->addInterest(
        handset.platform().registry.firstPowerSource(),
        [this](const std::shared_ptr<RegistryEntry>&, std::uint32_t, const Value&) { report(); },
        interest);
    Scenario::read("device:\n" + device + kModel + steps, "s.yaml", handset).begin(handset);
  }

  void report() {
    const Dictionary& properties = handset.battery().entry().properties();
    reports.push_back(formatText(
        "%lld %.2f %d%s%s%s", static_cast<long long>(handset.clock().elapsed().count() / 1000000),
        handset.battery().level(), static_cast<int>(properties["InstantAmperage"].integer()),
        properties["IsCharging"].boolean() ? " charging" : "",
        properties["FullyCharged"].boolean() ? " full" : "",
        properties["AtCriticalLevel"].boolean() ? " empty" : ""));
  }

  // The joules of the truth by cause, in microjoules.
  std::map<std::string, std::int64_t> truth() {
    std::map<std::string, std::int64_t> joules;
    std::istringstream table(handset.powerModel().account()->table());
    std::string line;
    std::getline(table, line);
    for (std::string seconds, used, other, cause;
         table >> seconds >> used >> other >> other >> std::ws && std::getline(table, cause);) {
      joules[cause] = std::stoll(used.erase(used.find('.'), 1));
    }
    return joules;
  }

  SimHandset handset;
  std::unique_ptr<RegistryNotificationPort> port =
      handset.platform().registry.makeNotificationPort();
  Registration interest;
  Lines reports;
};

TEST_F(SimPowerModelTest, ReportsEachWholePercentAndContinuesFromASetLevel) {
  begin("  battery: {level: 50.5}\n  backlight: {brightness: 100}\n",
        "steps:\n"
        "  - {at: 310s, audio: {playing: true}, backlight: {brightness: 75}}\n"  // still 5 W
        "  - {at: 400s, processes: {add_cpu_time: {1: 460}}}\n"
        "  - {at: 500s, battery: {level: 20}}\n"
        "  - {at: 510s, sleep: true}\n"
        "  - {at: 6510s, wake: {reason: rtc}}\n"
        "end: 7000s\n");
  handset.runLoop().advance(6600);
  EXPECT_EQ(reports, (Lines{
                         "100 50.00 -500", "300 49.00 -500",  // 5 W are 1000 J in 200 s
                         "400 46.20 -500",                    // 2300 J at once, reported once
                         "440 46.00 -500",                    // 46.2 %, 5 W
                         "500 20.00 -500",                    // set
                         "6510 16.95 -500",                   // 50 J awake and 3000 J asleep
                     }));
  EXPECT_EQ(handset.battery().level(), 16.5);  // 90 s later
}

TEST_F(SimPowerModelTest, ChargesUntilFullAndDrainsUntilEmpty) {
  begin("  battery: {level: 98.5}\n  backlight: {brightness: 0}\n",
        "steps:\n"
        "  - {at: 100s, charger: 24}\n"
        "  - {at: 400s, charger: null}\n"
        "  - {at: 500s, battery: {level: 1}}\n"
        "  - {at: 1000s, charger: 3}\n"  // less than is used
        "  - {at: 1100s, charger: 14}\n"
        "end: 1300s\n");
  handset.runLoop().advance(1210);
  EXPECT_EQ(reports,
            (Lines{"100 98.10 2000 charging", "145 99.00 2000 charging", "195 100.00 0 full",
                   "400 100.00 -400", "500 1.00 -400", "750 0.00 0 empty", "1000 0.00 0 empty",
                   "1100 0.00 1000 charging empty", "1200 1.00 1000 charging"}));
  const auto joules = truth();
  EXPECT_EQ(joules.at("awake"), (100 + 300 + 100 + 250 + 110) * std::int64_t{4'000'000});
  // 24 W for 95 s, what is used for 205 s, 14 W for 110 s
  EXPECT_EQ(joules.at("from the charger"),
            (24 * 95 + 4 * 205 + 14 * 110) * std::int64_t{1'000'000});
}

// Each figure is from the scenario alone, by arithmetic on paper.
TEST_F(SimPowerModelTest, AccountsForEachCauseToTheMicrojoule) {
  begin(
      "  battery: {level: 60}\n  backlight: {brightness: 90}\n"
      "  processes: [{id: 1, name: init}, {id: 7, name: indexer, load: 0.333333, unit: app}]\n",
      "steps:\n"
      "  - {at: 100.7s, traffic: {en0: {received: 1000001, sent: 500000}, "
      "pdp_ip0: {sent: 7}, lo0: {sent: 9000000}}}\n"
      "  - {at: 200s, audio: {playing: true}, telephony: {calls: {1: Active}}}\n"
      "  - {at: 300s, audio: {muted: true}, telephony: {calls: {1: Held}}, "
      "processes: {add_cpu_time: {1: 0.000003}, load: {7: 0}}}\n"
      "  - {at: 400s, sleep: true}\n"
      "  - {at: 500s, wake: {reason: null}, processes: {end: 7}, backlight: {brightness: 0}}\n"
      "end: 600s\n");
  std::int64_t observed = 0;
  const auto observer = handset.powerModel().account()->observeUse(
      [&](const EnergyCause&, std::int64_t microjoules) { observed += microjoules; });
  handset.runLoop().advance(600);
  const std::map<std::string, std::int64_t> causes{
      {"asleep", 50'000'000},
      {"awake", 2'000'000'000},
      {"display", 360'000'000},
      {"process 1 init", 15},
      {"process 7 indexer", 499'999'500},
      {"wifi", 3'000'002},
      {"modem", 150'000'021},
      {"audio", 25'000'000},
  };
  auto joules = truth();
  std::int64_t sum = 0;
  for (const auto& [cause, microjoules] : causes) {
    EXPECT_EQ(joules[cause], microjoules) << cause;
    sum += microjoules;
  }
  EXPECT_EQ(joules["total"], sum);
  EXPECT_EQ(handset.energy().counter("all").used, sum);
  EXPECT_EQ(handset.energy().counter("cpu").used, 499'999'515);
  EXPECT_EQ(handset.platform().work.units()->at(0).used.count(), 99'999'900);
  EXPECT_EQ(observed, sum);
  EXPECT_EQ(joules["total asleep"], 50'000'000);
  EXPECT_EQ(joules["total awake"], sum - 50'000'000);
  EXPECT_EQ(joules["battery at the start"] - joules["battery at the end"], sum);
  EXPECT_EQ(handset.statistics().task(1).sample.basic.userTime.microseconds, 3);
}

TEST_F(SimPowerModelTest, ABatteryThatIsTakenOutFeedsNothing) {
  begin("  battery: {level: 50, present: false}\n", "steps:\n  - {at: 1h, stop: true}\n");
  handset.runLoop().advance(3600);
  EXPECT_EQ(reports, Lines{});
  EXPECT_EQ(truth()["total"], 0);
  EXPECT_EQ(truth()["battery at the end"], 50'000'000'000);
}

}  // namespace
}  // namespace zorva
