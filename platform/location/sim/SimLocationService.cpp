// SPDX-License-Identifier: Apache-2.0
#include "platform/location/sim/SimLocationService.h"

#include <algorithm>
#include <array>

namespace zorva {
namespace {

// A code is written by its name or, if it has none, by its number.
std::int64_t technologyIn(const ScenarioNode& node) {
  constexpr std::array kNames{"gps",  "nmea", "accessory", "wifi",      "skyhook",
                              "cell", "lac",  "mcc",       "gps_coarse"};
  const auto name = std::find(kNames.begin(), kNames.end(), node.text());
  if (name != kNames.end()) return name - kNames.begin() + 1;
  return node.integer(INT32_MIN, INT32_MAX);
}

}  // namespace

SimLocationService::SimLocationService(SimParts& parts, NotificationCentre& notifications)
    : notifications_(notifications),
      copyTechnologiesInUseFault_(parts.faults, "location.copyTechnologiesInUse"),
      copyClientsFault_(parts.faults, "location.copyClients") {
  const auto readTechnologies = [this](const ScenarioNode& node) -> ScenarioAction {
    std::vector<std::int64_t> technologies;
    for (const ScenarioNode& item : node.list()) technologies.push_back(technologyIn(item));
    return [this, technologies] { setTechnologies(technologies); };
  };
  const auto readClient = [this](const ScenarioNode& key,
                                 const ScenarioNode& node) -> ScenarioAction {
    std::optional<Dictionary> record;
    if (!node.isNothing()) {
      record.emplace();
      for (const auto& [name, value] : node.entries()) record->set(name.text(), value.value());
    }
    return [this, client = key.text(), record] { setClient(client, record); };
  };
  parts.sections.addBoth("location", [=](const ScenarioNode& node) {
    return node.actions(
        {{"technologies", readTechnologies}, {"clients", [=](const ScenarioNode& clients) {
                                                return eachEntryOf(clients, readClient);
                                              }}});
  });
}

std::vector<std::int64_t> SimLocationService::copyTechnologiesInUse() {
  if (copyTechnologiesInUseFault_.strikes()) return {};
  return technologies_;
}

std::vector<std::pair<std::string, Dictionary>> SimLocationService::copyClients() {
  if (copyClientsFault_.strikes()) return {};
  return clients_;
}

void SimLocationService::setTechnologies(std::vector<std::int64_t> technologies) {
  technologies_ = std::move(technologies);
  notifications_.post(kLocationTechnologyStatusChanged);
}

void SimLocationService::setClient(const std::string& key, std::optional<Dictionary> record) {
  const auto known = std::find_if(clients_.begin(), clients_.end(),
                                  [&](const auto& each) { return each.first == key; });
  if (!record) {
    if (known != clients_.end()) clients_.erase(known);
  } else if (known != clients_.end()) {
    known->second = std::move(*record);
  } else {
    clients_.emplace_back(key, std::move(*record));
  }
  notifications_.post(kLocationClientStatusChanged);
}

}  // namespace zorva
