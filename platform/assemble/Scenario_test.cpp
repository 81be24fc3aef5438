// SPDX-License-Identifier: Apache-2.0
#include "platform/assemble/Scenario.h"

#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/assemble/SimHandset.h"

namespace zorva {
namespace {

std::string errorOf(const std::string& yaml) {
  SimHandset handset;
  try {
    Scenario::read(yaml, "s.yaml", handset);
  } catch (const ScenarioError& error) {
    return error.what();
  }
  return "no error";
}

std::string step(const std::string& what) {
  return "steps:\n  - at: 1s\n    " + what + "\n";
}

TEST(Scenario, WhatIsWrongIsSaidWithItsPlaceAndARemedy) {
  struct Case {
    std::string yaml;
    std::string error;  // how it starts, behind "s.yaml:"
  };
  const Case cases[] = {
      // the text
      {"", "1:1: the scenario is empty"},
      {"steps: [1\n", "2:1: this is no YAML: "},
      {"---\nsteps: []\n---\nend: 5\n", "3:1: a scenario is one document"},
      {"description: &a text\nend: *a\n", "2:6: aliases are not read; write the value out"},
      {"end: !odd 5\n", "1:6: the tag \"!odd\" is not known"},
      {"? [a, b]\n: c\n", "1:3: a key must be a text"},
      {"end: " + std::string(40, '[') + std::string(40, ']'), "1:37: too deeply nested"},
      {std::string(2 << 20, '#'), "1:1: the scenario is too large; at most 1 MiB is read"},
      // keys
      {"end: 5\nend: 6\n", "2:1: the key \"end\" stands here for the second time"},
      {"device:\n  battery: {level: 80, volt: 3}\n",
       "2:24: the key \"volt\" is not known here; use one of: level, max_capacity, current"},
      {"device: {battery: {\"le\\nvel\": 1}}", "1:20: the key \"le\\x0avel\" is not known here"},
      {"device: {users: {a: {user_id: 1}}}", "1:21: the key \"group_id\" is missing here"},
      {"device: {power_model: {energy: 50, asleep: 1, awake: 2}}",
       "1:23: the key \"voltage\" is missing here"},
      {"device: {power_model: {energy: 0, voltage: 11}}", "1:32: write a number from 0.001 to "},
      // steps and their order
      {"steps: {at: 1}", "1:8: a list is wanted here"},
      {"steps: [5]", "1:9: a step is a mapping"},
      {"steps:\n  - notify: x\n", "2:5: a step begins with \"at: \""},
      {"steps:\n  - at: 1\n", "2:5: nothing happens in this step"},
      {"steps:\n  - at: 10s\n    stop: true\n  - at: 9s\n    stop: true\n",
       "4:9: this step comes before the one above it"},
      {"steps: [{at: 10s, stop: true}]\nend: 9s\n", "2:6: the end comes before the last step"},
      // kinds and ranges
      {"end: -1", "1:6: write a duration here"},
      {"end: 30m1h", "1:6: write a duration here"},
      {"end: 00:-1:00", "1:6: write a duration here"},
      {"end: 1e300", "1:6: this is too long"},
      {"end:\n", "1:1: write a duration here"},
      {"device: {battery: {level: 101}}", "1:27: write a number from 0 to 100 here"},
      {"device: {battery: {voltage: 99999999999999999999}}", "1:29: write a whole number"},
      {"device: {battery: {voltage: 0x-1}}", "1:29: write a whole number"},
      {"device: {battery: {charging: yes}}", "1:30: write true or false here"},
      {"device: {clock: {set: 2026-02-30 00:00:00}}", "1:23: write a date here"},
      {"device: {information: {a: !data 0a1}}", "1:27: write the data as pairs"},
      {"device: {locale: {time_zone: Mars/Base}}", "1:30: the zone database has no such"},
      {"device: {locale: {identifier: ../etc}}", "1:31: write a language"},
      {"device: {files: [{path: /a/../b}]}", "1:25: write a whole path here"},
      {step("move_log: ../away"), "3:15: write a file name without a directory"},
      {step("stop: false"), "3:11: write true here"},
      {step("notify: \"\""), "3:13: the text must not be empty"},
      // what would not be there by then
      {step("fault: {point: battery.propertys}"),
       "3:20: there is no such fault point; use one of: a"},
      {step("fault: {point: files.makeEventQueue, result: 5}"), "3:50: this operation answers no"},
      {step("fault: {point: registry.addInterest, result: 0}"), "3:50: 0 is success here; give"},
      {step("fault: {point: processInformation.socketBytes, result: 792}"),
       "3:60: write a whole number from 1 to 791 here"},
      {step("interfaces: {remove: [en0, en0]}"), "3:32: there is no interface of this name then"},
      {step("interfaces: {add: {name: en0}}"), "3:30: there is an interface of this name already"},
      {step("processes: {end: 77}"), "3:22: there is no process of this id then"},
      {step("processes: {load: {1: 65}}"), "3:27: write a number from 0 to 64 here"},
      {step("charger: 45"), "3:14: a charger needs a \"power_model\" under \"device\""},
      {step("sockets: {open: {process: 1, tcp: 1.2.3.4}}"),
       "3:39: this is no address and port, such as 10.2.3.4:49152"},
      {step("sockets: {open: {process: 1, remote: \"1.2.3.4:5\"}}"),
       "3:21: a socket is one of tcp, udp and other"},
      {step("sockets: {open: {process: 1, udp: \"1.2.3.4:5\", state: closed}}"),
       "3:59: only a tcp socket has a state"},
      {step("sockets: {close: {process: 1, other: true}}"),
       "3:22: the process has no such socket then"},
      {step("power: {message: wont_sleep}"), "3:22: use can_sleep, will_sleep, will_not_sleep, "},
      {step("wake: {}"), "3:11: the key \"reason\" is missing here"},
      {step("scheduled_events: {remove: clock}"), "3:32: nothing is scheduled by this one then"},
      {step("assertions: {release: {process: 45, name: Play}}"), "3:27: the process holds no"},
      {step("assertions: {take: {process: 45, name: A, properties: {AssertPID: 1}}}"),
       "3:60: this comes from process, name and held_for"},
  };
  for (const auto& [yaml, error] : cases) {
    const std::string expected = "s.yaml:" + error;
    EXPECT_EQ(errorOf(yaml).substr(0, expected.size()), expected) << yaml.substr(0, 80);
  }
}

// What the scenarios of the tree do not show in their logs.
TEST(Scenario, SetsTheDeviceUpAndPlaysTheStepsInOrder) {
  SimHandset handset;
  const Scenario scenario = Scenario::read(R"(
end: 2h
device:
  battery: {level: 50, max_capacity: 1000, properties: {CycleCount: null, Serial: "0815"}}
  information: {gas-gauge-battery: null}
  preferences: {ZVRecordSyslog: false}
  users: {mobile: null, root: {user_id: 0, group_id: 0}}
  interfaces: [{name: wlan0, received: 0xFFFFFFFF}]
  processes: [{id: 7, name: a name that is too long}]
  assertions: [{process: 7, name: Held}]
  states: [{name: sensor, value: 0xFFFFFFFFFFFFFFFF}]
  files:
    - {path: /Library/Logs/Faultbox/report.txt}
  faults: [{point: processes.commandName}, {point: preferences.synchronize}]
steps:
  - {at: 00:10:00, preferences: {ZVRecordSyslog: null}, notify: com.vennor.test}
  - {at: 0h10m, traffic: {wlan0: {received: 3}}, assertions: {release_all: 7}}
  - {at: 11m, move_log: first.zorva}
  - {at: 12m, remove_log: true, fault: {point: battery.properties, result: 0xE00002D8}}
  - {at: 13m, remove_file: /Library/Logs/first.zorva}
)",
                                           "s.yaml", handset);
  const Platform& platform = handset.platform();
  const auto setting = [&] {
    return platform.preferences.value({"com.vennor.zorva", "mobile"}, "ZVRecordSyslog");
  };
  const auto exists = [&](const std::string& file) {
    return std::filesystem::exists(handset.files().hostPath("/Library/Logs/" + file));
  };
  SimClock::Duration ended{};
  const Registration end = handset.notifications().observe(
      SimSystemNotifications::kExit, [&](std::string_view) { ended = handset.clock().elapsed(); });
  scenario.begin(handset);
  std::ofstream(handset.files().hostPath("/Library/Logs/Faultbox/Zorva_1.zorva")) << "a log";

  Dictionary battery;
  platform.registry.firstPowerSource()->readProperties(battery);
  EXPECT_EQ(battery["CurrentCapacity"], Value(500));
  EXPECT_FALSE(battery.contains("CycleCount"));
  EXPECT_EQ(battery["Serial"], Value("0815"));
  EXPECT_TRUE(platform.device.answer("gas-gauge-battery").isNothing());
  EXPECT_EQ(setting(), Value(false));
  EXPECT_FALSE(platform.accounts.idsOfUser("mobile"));
  EXPECT_EQ(platform.systemNotifications.state("sensor"), UINT64_MAX);
  EXPECT_FALSE(platform.processes.commandName(7));  // the fault
  EXPECT_EQ(platform.processes.commandName(7), "a name that is t");

  handset.runLoop().advance(11 * 60);
  EXPECT_TRUE(exists("first.zorva"));
  handset.runLoop().run();
  EXPECT_EQ(ended, std::chrono::hours(2));
  EXPECT_FALSE(exists("first.zorva"));
  EXPECT_TRUE(exists("Faultbox/report.txt"));
  EXPECT_EQ(handset.systemLog().takeLines(),
            (std::vector<std::string>{"scenario: there is no log: No such file or directory"}));
  EXPECT_EQ(platform.registry.firstPowerSource()->readProperties(battery), 0xE00002D8);
  EXPECT_TRUE(setting().isNothing());
  EXPECT_EQ(platform.interfaces.addresses()->at(0).counters->received, 2U);  // wrapped
}

}  // namespace
}  // namespace zorva
