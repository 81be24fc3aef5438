// SPDX-License-Identifier: Apache-2.0
// What a battery costs whose firmware storms, and one whose driver is silent: 7200 events, an hour
// of two a second, and the readings of a day. The peer only receives the same events. Runs in a
// mock kernel: umockdev-run -- battery_storm

#include <cstdio>
#include <memory>
#include <string>
#include <umockdev.h>

#include "bench/Measure.h"
#include "platform/loop/linux/LinuxRunLoop.h"
#include "platform/registry/linux/LinuxNotificationPort.h"
#include "platform/registry/linux/LinuxPowerSource.h"

namespace zorva {
namespace {

constexpr int kEvents = 7200;
constexpr int kReadings = 24 * 12;  // every five minutes

class Bench {
 public:
  Bench() {
    const char* const variables[][2] = {{"NAME", "BAT0"},
                                        {"STATUS", "Discharging"},
                                        {"PRESENT", "1"},
                                        {"TECHNOLOGY", "Li-ion"},
                                        {"CYCLE_COUNT", "123"},
                                        {"VOLTAGE_MIN_DESIGN", "11400000"},
                                        {"VOLTAGE_NOW", "11900000"},
                                        {"CURRENT_NOW", "900000"},
                                        {"CHARGE_FULL", "4000000"},
                                        {"CHARGE_FULL_DESIGN", "4500000"},
                                        {"CHARGE_NOW", "2000000"},
                                        {"CAPACITY", "50"},
                                        {"CAPACITY_LEVEL", "Normal"}};
    g_free(umockdev_testbed_add_device(kernel_, "power_supply", "BAT0", nullptr, "type", "Battery",
                                       "capacity", "50", nullptr, nullptr));
    for (const auto& [name, value] : variables) {
      const std::string variable = std::string("POWER_SUPPLY_") + name;
      umockdev_testbed_set_property(kernel_, kDevice, variable.c_str(), value);
    }
  }
  ~Bench() { g_object_unref(kernel_); }

  // CPU milliseconds in which the loop receives the events.
  double storm() {
    double spent = 0;
    for (int event = 0; event < kEvents; ++event) {
      umockdev_testbed_set_property(kernel_, kDevice, "POWER_SUPPLY_VOLTAGE_NOW",
                                    std::to_string(11'900'000 + event).c_str());
      umockdev_testbed_uevent(kernel_, kDevice, "change");
      const double begun = bench::cpuMilliseconds();
      while (sd_event_run(loop.event(), 0) > 0) {
      }
      spent += bench::cpuMilliseconds() - begun;
    }
    return spent;
  }

  LinuxRunLoop loop;

 private:
  static constexpr const char* kDevice = "/sys/devices/BAT0";
  UMockdevTestbed* kernel_ = umockdev_testbed_new();
};

int run() {
  Bench bench;
  int received = 0;
  double peer = 0;
  {
    DeviceEvents events([&](const DeviceEvent&) { ++received; });
    events.listen(LinuxPowerSource::kClass);
    events.attach(bench.loop.event());
    peer = bench.storm();
  }
  const auto source =
      std::make_shared<LinuxPowerSource>(bench.loop.event(), "/sys/class/power_supply", nullptr);
  LinuxNotificationPort port(bench.loop.event());
  int reports = 0;
  Registration interest;
  port.addToRunLoop();
  if (port.addInterest(
          source, [&](const auto&, auto, const Value&) { ++reports; }, interest) !=
      kRegistrySuccess) {
    return 1;
  }
  const double storm = bench.storm();
  const double begun = bench::cpuMilliseconds();
  for (int reading = 0; reading < kReadings; ++reading) source->systemDidWake();
  const double day = bench::cpuMilliseconds() - begun;
  std::printf("an hour's storm, received only   %8.2f ms for %d events\n", peer, received);
  std::printf(
      "an hour's storm                  %8.2f ms, %.4f %% of a core, %.2f of received only; %d "
      "reports at this speed\n",
      storm, storm / 3600e3 * 100, storm / peer, reports);
  std::printf("a silent driver's day            %8.2f ms for %d readings\n", day, kReadings);
  return received == kEvents ? 0 : 1;
}

}  // namespace
}  // namespace zorva

int main() {
  return zorva::run();
}
