#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/sim/Scenario.h"
#include "platform/sim/SimHandset.h"

namespace zorva {
namespace {

std::string contentsOf(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream contents;
  contents << file.rdbuf();
  return contents.str();
}

// The yaml blocks of the page, each after as many empty lines as stand above it, so that errors
// name the page's lines.
std::vector<std::string> examplesIn(const std::string& page) {
  std::vector<std::string> examples;
  std::istringstream lines(page);
  std::string line;
  bool inside = false;
  for (std::size_t number = 1; std::getline(lines, line); ++number) {
    if (line == "```yaml") {
      inside = true;
      examples.emplace_back(number, '\n');
    } else if (line == "```") {
      inside = false;
    } else if (inside) {
      examples.back() += line + "\n";
    }
  }
  return examples;
}

// The page must be complete, and its examples right: every section of every service is used in one
// of them, and every key that the reader then offers is named in the text, as is every fault point.
TEST(ScenarioDocs, NameEveryKeyAndFaultPoint) {
  const std::string page = contentsOf("docs/scenarios.md");
  ASSERT_FALSE(page.empty());
  std::set<std::string> offered;
  std::set<std::string> usedAtStart;
  std::set<std::string> usedInSteps;
  for (const std::string& example : examplesIn(page)) {
    SimHandset handset;
    const Scenario scenario = Scenario::read(example, "docs/scenarios.md", handset);
    offered.insert(scenario.offeredKeys().begin(), scenario.offeredKeys().end());
    scenario.begin(handset);
    handset.runLoop().run();
    EXPECT_EQ(handset.systemLog().takeLines(), std::vector<std::string>());

    const ScenarioNode root = ScenarioNode::parse(example, std::make_shared<ScenarioText>());
    for (const auto& [key, value] : root.entries()) {
      if (key.text() == "device") {
        for (const auto& entry : value.entries()) usedAtStart.insert(entry.first.text());
      } else if (key.text() == "steps") {
        for (const ScenarioNode& step : value.list()) {
          for (const auto& entry : step.entries()) usedInSteps.insert(entry.first.text());
        }
      }
    }
  }
  for (const std::string& key : offered) {
    EXPECT_NE(page.find("`" + key + "`"), std::string::npos) << key << " is not explained";
  }
  SimHandset handset;
  for (const auto& section : handset.sections().start()) {
    EXPECT_TRUE(usedAtStart.contains(section.name)) << section.name << " has no example";
  }
  for (const auto& section : handset.sections().step()) {
    EXPECT_TRUE(usedInSteps.contains(section.name)) << section.name << " has no example";
  }
  for (const std::string& point : handset.faults().names()) {
    EXPECT_NE(page.find("`" + point + "`"), std::string::npos) << point << " is not named";
  }
}

}  // namespace
}  // namespace zorva
