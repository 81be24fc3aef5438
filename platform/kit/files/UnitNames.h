// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zorva {

/// What a desktop names in the unit in which it runs an application, with escapes undone.
struct ApplicationUnitName {
  std::string application;
  std::string instance;  ///< what distinguishes this start of it; empty where nothing does
};

/// Of "app[-LAUNCHER]-APPLICATION-RANDOM.scope" or "app[-LAUNCHER]-APPLICATION[@RANDOM].service".
/// Nothing for any other name.
std::optional<ApplicationUnitName> applicationUnitName(std::string_view unit);

/// The application alone.
std::optional<std::string> applicationOfUnit(std::string_view unit);

/// Whether an instance is a number or 32 hexadecimal digits, as desktops make them: no two units
/// have the same.
bool isUniqueInstance(std::string_view instance);

}  // namespace zorva
