// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/kit/files/UnitNames.h"

namespace zorva {

/// A control group that holds an application's processes.
struct ApplicationUnit {
  std::string application;
  bool frozen = false;
  std::vector<std::int32_t> processes;  ///< in the kernel's order, without those in subgroups
};

/// The current processes of the control group.
std::vector<std::int32_t> readUnitProcesses(const std::string& directory);

/// Units with processes, by directory.
using ApplicationUnits = std::map<std::string, ApplicationUnit>;

/// Searches for units below the root of the unified hierarchy, in the "app.slice" of every user's
/// manager. `before` is called with each directory in which a unit may appear, and each file that
/// reports a unit's state, before it is read.
ApplicationUnits readApplicationUnits(
    const std::string& root,
    const std::function<void(const std::string& path, bool directory)>& before);

}  // namespace zorva
