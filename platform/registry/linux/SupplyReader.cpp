// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/SupplyReader.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <unistd.h>
#include <utility>

namespace zorva {
namespace {

constexpr std::string_view kVariable = "POWER_SUPPLY_";

// Those that are used. "present" first: what follows it of a battery that is out is of no use.
constexpr std::array<const char*, 19> kAttributes{
    "present",     "status",      "health",      "capacity",          "capacity_level",
    "charge_now",  "charge_full", "energy_now",  "energy_full",       "charge_full_design",
    "voltage_now", "current_now", "power_now",   "current_avg",       "energy_full_design",
    "voltage_avg", "temp",        "cycle_count", "voltage_min_design"};

// What a gauge that cannot answer now ("try again", "no device") still knew a moment ago.
constexpr std::array<const char*, 7> kLasting{
    "capacity",    "charge_now",         "charge_full",       "energy_now",
    "energy_full", "charge_full_design", "energy_full_design"};

std::string upper(std::string_view name) {
  std::string text(name);
  std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::toupper(c); });
  return text;
}

}  // namespace

SupplyReader::SupplyReader(std::string directory, Clock clock)
    : directory_(std::move(directory)), clock_(std::move(clock)) {}

bool SupplyReader::has(const char* attribute) const {
  return ::access((directory_ + "/" + attribute).c_str(), F_OK) == 0;
}

bool SupplyReader::hasLevel() const {
  return has("capacity") || has("charge_now") || has("energy_now");
}

bool SupplyReader::hasGasGauge() const {
  return (has("current_now") || has("power_now") || has("current_avg")) &&
         (has("charge_full") || has("energy_full"));
}

bool SupplyReader::present() const {
  return ::access(directory_.c_str(), F_OK) == 0 && (*this)("present") != "0";
}

void SupplyReader::read() {
  const Time begun = clock_();
  if (restsUntil_ && begun < *restsUntil_) return;
  // The kernel leaves the file empty if one of the attributes fails.
  State state;
  const std::string text = readAttribute(directory_ + "/uevent").value_or("");
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    const std::string_view line = std::string_view(text).substr(start, end - start);
    const std::size_t equals = line.find('=');
    if (line.starts_with(kVariable) && equals != line.npos) {
      state.emplace(upper(line.substr(kVariable.size(), equals - kVariable.size())),
                    line.substr(equals + 1));
    }
    start = end + 1;
  }
  if (state.empty()) state = readOneByOne(begun);
  const auto took = clock_() - begun;
  if (took > kSlow) restsUntil_ = clock_() + kRest * took;
  keep(std::move(state));
}

SupplyReader::State SupplyReader::readOneByOne(Time begun) const {
  State state;
  for (const char* name : kAttributes) {
    const std::string key = upper(name);
    if (clock_() - begun > kSlow) {  // the rest as it was
      const auto last = state_.find(key);
      if (last != state_.end()) state.emplace(*last);
    } else if (auto text = readAttribute(directory_ + "/" + name)) {
      state.emplace(key, std::move(*text));
    }
  }
  return state;
}

bool SupplyReader::take(const SysfsAttributes& variable) {
  State state;
  for (const char* name : kAttributes) {
    std::string key = upper(name);
    if (auto value = variable(key)) state.emplace(std::move(key), std::move(*value));
  }
  if (!state.contains("STATUS")) return false;
  keep(std::move(state));
  return true;
}

void SupplyReader::keep(State state) {
  const auto present = state.find("PRESENT");
  if (present == state.end() || present->second != "0") {
    for (const char* name : kLasting) {
      const auto last = state_.find(upper(name));
      if (last != state_.end() && !state.contains(last->first) && has(name)) state.insert(*last);
    }
  }
  state_ = std::move(state);
  readAt_ = clock_();
}

std::optional<std::string> SupplyReader::operator()(const std::string& name) const {
  const auto found = state_.find(upper(name));
  if (found == state_.end()) return std::nullopt;
  return found->second;
}

}  // namespace zorva
