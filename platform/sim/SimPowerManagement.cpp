#include "platform/sim/SimPowerManagement.h"

#include <algorithm>
#include <utility>

namespace zorva {

std::optional<std::vector<PowerManagement::ProcessAssertions>>
SimPowerManagement::copyAssertionsByProcess() {
  if (copyAssertionsFault_.strikes()) return std::nullopt;
  return held_;
}

void SimPowerManagement::take(std::int32_t process, const std::string& name) {
  takeRecord(process, {{"AssertPID", std::int64_t{process}},
                       {"AssertName", name},
                       {"AssertStartWhen", clock_.now()}});
}

void SimPowerManagement::takeRecord(std::int32_t process, Dictionary record) {
  auto holder = std::find_if(held_.begin(), held_.end(),
                             [&](const auto& each) { return each.process == process; });
  if (holder == held_.end()) holder = held_.insert(held_.end(), {process, {}});
  holder->records.push_back(std::move(record));
  tellChange();
}

bool SimPowerManagement::release(std::int32_t process, const std::string& name) {
  for (auto holder = held_.begin(); holder != held_.end(); ++holder) {
    if (holder->process != process) continue;
    auto& records = holder->records;
    const auto record = std::find_if(records.begin(), records.end(), [&](const auto& each) {
      return each["AssertName"].text() == name;
    });
    if (record == records.end()) return false;
    records.erase(record);
    if (records.empty()) held_.erase(holder);
    tellChange();
    return true;
  }
  return false;
}

void SimPowerManagement::releaseAll(std::int32_t process) {
  if (std::erase_if(held_, [&](const auto& each) { return each.process == process; }) > 0) {
    tellChange();
  }
}

}  // namespace zorva
