// SPDX-License-Identifier: Apache-2.0
#include "platform/scenario/PowerFigures.h"

#include <cmath>
#include <string_view>
#include <utility>

namespace zorva {
namespace {

// Within these the sums of ten years fit into 64 bits.
constexpr double kMaxWattHours = 10000;
constexpr double kMaxWatts = 1000;
constexpr double kMaxCpuWatts = 100;
constexpr double kMaxDisplayWatts = 10;  // per unit of brightness
constexpr double kMaxVolts = 1000;
constexpr double kMaxJoulesPerMegabyte = 1000;

std::int64_t millionths(const ScenarioNode& node, double most) {
  return std::llround(node.number(0, most) * 1e6);
}

EnergyCause::Kind readKind(const ScenarioNode& node) {
  using Kind = EnergyCause::Kind;
  constexpr std::pair<std::string_view, Kind> kKinds[] = {
      {"asleep", Kind::Asleep},   {"awake", Kind::Awake}, {"display", Kind::Display},
      {"process", Kind::Process}, {"wifi", Kind::Wifi},   {"modem", Kind::Modem},
      {"audio", Kind::Audio}};
  for (const auto& [name, kind] : kKinds) {
    if (node.text() == name) return kind;
  }
  node.refuse("use asleep, awake, display, process, wifi, modem or audio");
}

}  // namespace

PowerFigures PowerFigures::read(const ScenarioNode& node) {
  const auto keys = node.keys({"energy", "voltage", "asleep", "awake", "display", "cpu", "call",
                               "audio", "wifi_traffic", "modem_traffic", "charger", "counters"});
  PowerFigures figures;
  // 3600 J/Wh * 10^6 uJ/J / 100
  figures.percent = std::llround(keys.require("energy").number(0.001, kMaxWattHours) * 3.6e7);
  figures.millivolts = std::llround(keys.require("voltage").number(0.1, kMaxVolts) * 1e3);
  figures.asleep = millionths(keys.require("asleep"), kMaxWatts);
  figures.awake = millionths(keys.require("awake"), kMaxWatts);
  const auto take = [&](const char* key, std::int64_t& figure, double most) {
    if (const auto* given = keys.find(key)) figure = millionths(*given, most);
  };
  take("display", figures.display, kMaxDisplayWatts);
  take("cpu", figures.cpu, kMaxCpuWatts);
  take("call", figures.call, kMaxWatts);
  take("audio", figures.audio, kMaxWatts);
  take("wifi_traffic", figures.wifiTraffic, kMaxJoulesPerMegabyte);
  take("modem_traffic", figures.modemTraffic, kMaxJoulesPerMegabyte);
  if (const auto* given = keys.find("charger")) figures.charger = readCharger(*given);
  if (const auto* counters = keys.find("counters")) {
    for (const auto& [name, causes] : counters->entries()) {
      for (const ScenarioNode& cause : causes.list()) {
        figures.counters[name.text()].insert(readKind(cause));
      }
    }
  }
  return figures;
}

std::int64_t readCharger(const ScenarioNode& node) {
  return node.isNothing() ? 0 : millionths(node, kMaxWatts);
}

}  // namespace zorva
