// SPDX-License-Identifier: Apache-2.0
#include "platform/system/linux/LinuxProfileSettings.h"

#include <cstdint>
#include <limits>
#include <string_view>

#include "platform/kit/bus/BusProperties.h"

namespace zorva {
namespace {

constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

LinuxBus::Reply loginProperty(LinuxBus& bus, const char* name, const char* type) {
  return getProperty(bus, kLoginService, kLoginPath, kLoginManager, name, type);
}

}  // namespace

Value LinuxProfileSettings::effectiveValue(const std::string& setting) {
  if (setting != kAutoLockTime) return {};
  const LinuxBus::Reply action = loginProperty(bus_, "IdleAction", "s");
  if (action.outcome != LinuxBus::Outcome::Answered) return {};
  const char* word = "";
  if (sd_bus_message_read(action.message.get(), "s", &word) <= 0 ||
      std::string_view(word).empty() || std::string_view(word) == "ignore") {
    return {};
  }
  const LinuxBus::Reply time = loginProperty(bus_, "IdleActionUSec", "t");
  std::uint64_t usec = kNever;
  if (time.outcome != LinuxBus::Outcome::Answered ||
      sd_bus_message_read(time.message.get(), "t", &usec) <= 0 || usec == kNever) {
    return {};
  }
  return static_cast<std::int64_t>(usec / 1'000'000);
}

}  // namespace zorva
