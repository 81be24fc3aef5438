#include "platform/sim/SimProcessTable.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace zorva {
namespace {

// Held to what the kernel can count.
TimeValue timeValueOf(double seconds) {
  seconds = std::min(seconds, static_cast<double>(std::numeric_limits<std::int32_t>::max()));
  const auto microseconds = static_cast<std::int64_t>(std::llround(seconds * 1e6));
  return {static_cast<std::int32_t>(microseconds / 1000000),
          static_cast<std::int32_t>(microseconds % 1000000)};
}

}  // namespace

SimProcessTable::SimProcessTable(SimParts& parts, SimSystemStatistics& statistics)
    : statistics_(statistics), commandNameFault_(parts.faults, "processes.commandName") {
  parts.sections.addStart("processes", [this](const ScenarioNode& node) {
    planned().clear();
    const ScenarioAction each =
        eachOf(node.list(), [this](const ScenarioNode& item) { return readProcess(item); });
    return inTurn({[this] { clear(); }, each});
  });
  parts.sections.addStep("processes", [this](const ScenarioNode& node) { return readStep(node); });
}

void SimProcessTable::setProcess(std::int32_t process, const std::string& name, double cpuSeconds) {
  names_[process] = name.substr(0, 16);
  statistics_.setTask(process, names_[process], timeValueOf(cpuSeconds));
}

void SimProcessTable::endProcess(std::int32_t process) {
  names_.erase(process);
  statistics_.removeTask(process);
}

void SimProcessTable::addCpuTime(std::int32_t process, double seconds) {
  TimeValue& time = statistics_.task(process).sample.basic.userTime;
  time = timeValueOf(time.seconds + time.microseconds * 1e-6 + seconds);
}

void SimProcessTable::clear() {
  while (!names_.empty()) endProcess(names_.begin()->first);
}

std::set<std::int32_t>& SimProcessTable::planned() {
  if (!planned_) {
    planned_.emplace();
    for (const auto& [process, name] : names_) planned_->insert(process);
  }
  return *planned_;
}

ScenarioAction SimProcessTable::readProcess(const ScenarioNode& node) {
  const auto keys = node.keys({"id", "name", "cpu_time"});
  const auto process = static_cast<std::int32_t>(keys.require("id").integer(0, INT32_MAX));
  const auto* cpuTime = keys.find("cpu_time");
  if (!planned().insert(process).second) {
    keys.require("id").refuse("there is a process of this id already");
  }
  return [this, process, name = keys.require("name").text(),
          seconds = cpuTime ? cpuTime->seconds() : 0.0] { setProcess(process, name, seconds); };
}

ScenarioAction SimProcessTable::readStep(const ScenarioNode& node) {
  const auto idOf = [this](const ScenarioNode& id) {
    const auto process = static_cast<std::int32_t>(id.integer(0, INT32_MAX));
    if (!planned().contains(process)) id.refuse("there is no process of this id then");
    return process;
  };
  return node.actions(
      {{"start",
        [this](const ScenarioNode& started) {
          return eachOf(started.oneOrMore(),
                        [this](const ScenarioNode& item) { return readProcess(item); });
        }},
       {"end",
        [this, idOf](const ScenarioNode& ended) {
          return eachOf(ended.oneOrMore(), [this, idOf](const ScenarioNode& id) -> ScenarioAction {
            const std::int32_t process = idOf(id);
            planned().erase(process);
            return [this, process] { endProcess(process); };
          });
        }},
       {"add_cpu_time", [this, idOf](const ScenarioNode& times) {
          return eachEntryOf(
              times,
              [this, idOf](const ScenarioNode& id, const ScenarioNode& time) -> ScenarioAction {
                return [this, process = idOf(id), seconds = time.seconds()] {
                  addCpuTime(process, seconds);
                };
              });
        }}});
}

}  // namespace zorva
