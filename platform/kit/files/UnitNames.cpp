// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/files/UnitNames.h"

#include <charconv>
#include <cstdint>
#include <utility>

namespace zorva {
namespace {

constexpr std::size_t kRandomLength = 32;

bool dropEnd(std::string_view& text, std::string_view end) {
  if (!text.ends_with(end)) return false;
  text.remove_suffix(end.size());
  return true;
}

// "\x2d" is the byte of that number.
std::string unescaped(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    std::uint8_t byte = 0;
    if (text.size() >= 4 && text.starts_with("\\x") &&
        std::from_chars(text.data() + 2, text.data() + 4, byte, 16).ptr == text.data() + 4) {
      result += static_cast<char>(byte);
      text.remove_prefix(4);
    } else {
      result += text[0];
      text.remove_prefix(1);
    }
  }
  return result;
}

// Takes the last part off a name, which keeps at least "app-X".
std::string_view takeLastPart(std::string_view& name) {
  const std::size_t dash = name.rfind('-');
  if (dash == name.npos || name.find('-') == dash) return {};
  const std::string_view part = name.substr(dash + 1);
  name = name.substr(0, dash);
  return part;
}

bool isRandom(std::string_view text) {
  return text.size() == kRandomLength && text.find_first_not_of("0123456789abcdef") == text.npos;
}

}  // namespace

std::optional<ApplicationUnitName> applicationUnitName(std::string_view unit) {
  if (!unit.starts_with("app-")) return std::nullopt;
  std::string_view instance;
  if (dropEnd(unit, ".scope")) {
    instance = takeLastPart(unit);
  } else if (dropEnd(unit, ".service")) {
    const std::size_t at = unit.rfind('@');
    if (at != unit.npos) {
      instance = unit.substr(at + 1);
      unit = unit.substr(0, at);
    } else if (isRandom(unit.substr(unit.rfind('-') + 1))) {
      instance = takeLastPart(unit);  // as some desktops write it
    }
  } else {
    return std::nullopt;
  }
  ApplicationUnitName name{unescaped(unit.substr(unit.rfind('-') + 1)), unescaped(instance)};
  if (name.application.empty()) return std::nullopt;
  return name;
}

std::optional<std::string> applicationOfUnit(std::string_view unit) {
  auto name = applicationUnitName(unit);
  return name ? std::optional(std::move(name->application)) : std::nullopt;
}

bool isUniqueInstance(std::string_view instance) {
  return isRandom(instance) ||
         (!instance.empty() && instance.find_first_not_of("0123456789") == instance.npos);
}

}  // namespace zorva
