// SPDX-License-Identifier: Apache-2.0
#include "platform/assemble/Scenario.h"

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
      {"steps: [1\n", "2:1: this is not valid YAML: "},
      {"---\nsteps: []\n---\nend: 5\n", "3:1: a scenario is one document"},
      {"description: &a text\nend: *a\n", "2:6: aliases are not supported; write the value out"},
      {"end: !odd 5\n", "1:6: the tag \"!odd\" is unknown"},
      {"? [a, b]\n: c\n", "1:3: a key must be a text"},
      {"end: " + std::string(40, '[') + std::string(40, ']'), "1:37: too deeply nested"},
      {std::string(2 << 20, '#'), "1:1: the scenario is too large; at most 1 MiB is read"},
      // keys
      {"end: 5\nend: 6\n", "2:1: the key \"end\" is repeated here"},
      {"device:\n  battery: {level: 80, volt: 3}\n",
       "2:24: the key \"volt\" is not known here; use one of: level, max_capacity, current"},
      {"device: {battery: {\"le\\nvel\": 1}}", "1:20: the key \"le\\x0avel\" is not known here"},
      {"device: {users: {a: {user_id: 1}}}", "1:21: the key \"group_id\" is missing here"},
      {"device: {power_model: {energy: 50, asleep: 1, awake: 2}}",
       "1:23: the key \"voltage\" is missing here"},
      {"device: {power_model: {energy: 0, voltage: 11}}", "1:32: write a number from 0.001 to "},
      {"device: {power_model: {energy: 1, voltage: 1, asleep: 0, awake: 0, counters: {a: [b]}}}",
       "1:83: use asleep, awake, display, "},
      // steps and their order
      {"steps: {at: 1}", "1:8: write a list here"},
      {"steps: [5]", "1:9: a step is a mapping"},
      {"steps:\n  - notify: x\n", "2:5: a step begins with \"at: \""},
      {"steps:\n  - at: 1\n", "2:5: nothing happens in this step"},
      {"steps:\n  - at: 10s\n    stop: true\n  - at: 9s\n    stop: true\n",
       "4:9: this step is earlier than the one above it"},
      {"steps: [{at: 10s, stop: true}]\nend: 9s\n", "2:6: the end is earlier than the last step"},
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
      {step("fault: {point: files.makeEventQueue, result: 5}"), "3:50: this operation returns no"},
      {step("fault: {point: registry.addInterest, result: 0}"), "3:50: 0 is success here; give"},
      {step("fault: {point: processInformation.socketBytes, result: 792}"),
       "3:60: write a whole number from 1 to 791 here"},
      {step("interfaces: {remove: [en0, en0]}"), "3:32: no interface has this name at that time"},
      {step("interfaces: {add: {name: en0}}"), "3:30: an interface has this name already"},
      {step("processes: {end: 77}"), "3:22: no process has this id at that time"},
      {step("processes: {load: {1: 65}}"), "3:27: write a number from 0 to 64 here"},
      {step("charger: 45"), "3:14: a charger needs a \"power_model\" under \"device\""},
      {step("sockets: {open: {process: 1, tcp: 1.2.3.4}}"),
       "3:39: write an address and port, such as 10.2.3.4:49152"},
      {step("sockets: {open: {process: 1, remote: \"1.2.3.4:5\"}}"),
       "3:21: a socket is one of tcp, udp and other"},
      {step("sockets: {open: {process: 1, udp: \"1.2.3.4:5\", state: closed}}"),
       "3:59: only a tcp socket has a state"},
      {step("sockets: {close: {process: 1, other: true}}"),
       "3:22: the process has no such socket at that time"},
      {step("power: {message: wont_sleep}"), "3:22: use can_sleep, will_sleep, will_not_sleep, "},
      {step("wake: {}"), "3:11: the key \"reason\" is missing here"},
      {step("scheduled_events: {remove: clock}"), "3:32: it has scheduled nothing by then"},
      {step("assertions: {release: {process: 45, name: Play}}"), "3:27: the process holds no"},
      {step("assertions: {take: {process: 45, name: A, properties: {AssertPID: 1}}}"),
       "3:60: this comes from process, name and held_for"},
  };
  for (const auto& [yaml, error] : cases) {
    const std::string expected = "s.yaml:" + error;
    EXPECT_EQ(errorOf(yaml).substr(0, expected.size()), expected) << yaml.substr(0, 80);
  }
}

}  // namespace
}  // namespace zorva
