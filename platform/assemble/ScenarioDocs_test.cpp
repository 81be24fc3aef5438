// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/assemble/Scenario.h"
#include "platform/assemble/SimHandset.h"

namespace zorva {
namespace {

// The yaml blocks of the page, each preceded by as many empty lines as the page has before it, so
// that errors give the page's line numbers.
std::vector<std::string> examplesIn(const std::string& page) {
  std::vector<std::string> examples;
  std::size_t end = 0;
  for (std::size_t start; (start = page.find("\n```yaml\n", end)) != std::string::npos;) {
    start += 9;
    end = page.find("\n```\n", start) + 1;
    const auto above = std::count(page.begin(), page.begin() + static_cast<long>(start), '\n');
    examples.push_back(std::string(above, '\n') + page.substr(start, end - start));
  }
  return examples;
}

// The page must be complete and its examples valid: every section of every service is used in an
// example, and the text names every key that the reader then accepts and every fault point.
TEST(ScenarioDocs, NameEveryKeyAndFaultPoint) {
  std::ifstream file("docs/scenarios.md");
  const std::string page{std::istreambuf_iterator<char>(file), {}};
  ASSERT_FALSE(page.empty());
  SimHandset healthy;
  const std::vector<std::string> points = healthy.faults().names();
  std::set<std::string> offered(points.begin(), points.end());
  std::map<std::string, std::set<std::string>> used;  // sections, by "device" and "steps"
  for (const std::string& example : examplesIn(page)) {
    SimHandset handset;
    const Scenario scenario = Scenario::read(example, "docs/scenarios.md", handset);
    offered.insert(scenario.offeredKeys().begin(), scenario.offeredKeys().end());
    scenario.begin(handset);
    handset.runLoop().run();
    for (const std::string& line : handset.systemLog().takeLines()) {
      EXPECT_TRUE(line.starts_with("scenario: there is no log:")) << line << " (no daemon runs)";
    }

    const ScenarioNode root = ScenarioNode::parse(example, std::make_shared<ScenarioText>());
    for (const auto& [key, value] : root.entries()) {
      if (key.text() != "device" && key.text() != "steps") continue;
      for (const ScenarioNode& node : value.oneOrMore()) {
        for (const auto& entry : node.entries()) used[key.text()].insert(entry.first.text());
      }
    }
  }
  for (const std::string& name : offered) {
    EXPECT_NE(page.find("`" + name + "`"), std::string::npos) << name << " is not explained";
  }
  for (const auto& section : healthy.sections().start()) {
    EXPECT_TRUE(used["device"].contains(section.name)) << section.name << " has no example";
  }
  for (const auto& section : healthy.sections().step()) {
    EXPECT_TRUE(used["steps"].contains(section.name)) << section.name << " has no example";
  }
}

}  // namespace
}  // namespace zorva
