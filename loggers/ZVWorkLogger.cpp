// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVWorkLogger.h"

#include <algorithm>
#include <tuple>

#include "platform/base/Text.h"

namespace zorva {

std::unique_ptr<ZVWorkLogger> ZVWorkLogger::logger(const Services& services, WorkUnits& units) {
  if (!units.units()) return nullptr;
  return std::unique_ptr<ZVWorkLogger>(new ZVWorkLogger(services, units));
}

ZVWorkLogger::ZVWorkLogger(const Services& services, WorkUnits& units)
    : ZVLogger(services), units_(units) {
  logOnBatteryLevel();
}

void ZVWorkLogger::log() {
  auto units = units_.units();
  if (!units) {
    logError("Work: The units cannot be read");
    return;
  }
  const std::string body = bodyOf(std::move(*units));
  if (!body.empty()) logEntryWithBody("Work", body);
}

std::string ZVWorkLogger::bodyOf(std::vector<WorkUnits::Unit> units) {
  std::erase_if(units, [](const auto& unit) { return unit.used < std::chrono::milliseconds(100); });
  std::ranges::sort(units, [](const auto& one, const auto& other) {
    return std::tie(other.used, one.name) < std::tie(one.used, other.name);
  });
  if (units.size() > kMaxUnits) units.resize(kMaxUnits);
  std::string body;
  for (const WorkUnits::Unit& unit : units) {
    body += formatText(" %s=%.1f;", safeText(unit.name).c_str(),
                       std::chrono::duration<double>(unit.used).count());
  }
  return body;
}

}  // namespace zorva
