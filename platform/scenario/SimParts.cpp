// SPDX-License-Identifier: Apache-2.0
#include "platform/scenario/SimParts.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>

namespace zorva {

void ScenarioSections::add(std::vector<Section>& sections, const std::string& key, Reader read) {
  const bool taken = std::any_of(sections.begin(), sections.end(),
                                 [&](const Section& section) { return section.name == key; });
  if (taken) throw std::logic_error("two sections of a scenario are named " + key);
  sections.push_back({key, std::move(read)});
}

void SimParts::addFaultSections() {
  const auto read = [this](const ScenarioNode& node) -> ScenarioAction {
    const auto keys = node.keys({"point", "result", "times", "after"});
    const ScenarioNode& pointNode = keys.require("point");
    const std::string point = pointNode.text();
    if (!faults.contains(point)) {
      std::string names;
      for (const std::string& name : faults.names()) names += (names.empty() ? "" : ", ") + name;
      pointNode.refuse("there is no such fault point; use one of: " + names);
    }
    std::optional<std::int64_t> result;
    if (const auto* code = keys.find("result")) {
      const auto results = faults.results(point);
      if (!results) {
        code->refuse("this operation returns no result code when it fails; remove the key");
      }
      result = code->integer(results->least, results->most);
      if (results->code && *result == 0) {
        code->refuse("0 is success here; give the code of a failure, or remove the key");
      }
    }
    const auto count = [&](const char* key, int otherwise) {
      const auto* given = keys.find(key);
      return given ? static_cast<int>(given->integer(0, 1000000)) : otherwise;
    };
    return [this, point, result, times = count("times", 1), after = count("after", 0)] {
      faults.fail(point, times, result, after);
    };
  };
  sections.addStart("faults",
                    [read](const ScenarioNode& node) { return eachOf(node.list(), read); });
  sections.addStep("fault",
                   [read](const ScenarioNode& node) { return eachOf(node.oneOrMore(), read); });
}

}  // namespace zorva
