// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/Backlight.h"

#include <string_view>

namespace zorva {
namespace {

std::optional<std::int64_t> amount(const SysfsAttributes& attributes, const char* name) {
  const auto number = wholeNumber(attributes(name));
  return number && *number >= 0 ? number : std::nullopt;
}

}  // namespace

std::optional<std::int64_t> backlightBrightness(const SysfsAttributes& attributes) {
  // 0 is on; the other values are the power-saving modes of old and off.
  if (amount(attributes, "bl_power").value_or(0) != 0) return 0;
  const auto actual = amount(attributes, "actual_brightness");
  // There are drivers that report the actual brightness on another scale than all the rest.
  if (actual && *actual <= amount(attributes, "max_brightness").value_or(*actual)) return actual;
  return amount(attributes, "brightness");
}

Dictionary backlightProperties(const SysfsAttributes& attributes) {
  Dictionary brightness{{"min", 0}};
  if (const auto most = amount(attributes, "max_brightness")) brightness.set("max", *most);
  if (const auto now = backlightBrightness(attributes)) brightness.set("value", *now);
  return {{"backlight-control", true},
          {"IODisplayParameters", Dictionary{{"brightness", std::move(brightness)}}}};
}

int backlightRank(const SysfsAttributes& attributes) {
  constexpr std::string_view kTypes[] = {"firmware", "platform", "raw"};
  const std::string type = attributes("type").value_or("");
  return static_cast<int>(std::ranges::find(kTypes, type) - std::begin(kTypes));
}

}  // namespace zorva
