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
  std::vector<std::int32_t> processes;  ///< in the kernel's order; those right in it
};

/// The processes of the control group now.
std::vector<std::int32_t> readUnitProcesses(const std::string& directory);

/// Those with processes, by their directories.
using ApplicationUnits = std::map<std::string, ApplicationUnit>;

/// Looks for units below the root of the unified hierarchy, in the "app.slice" of every user's
/// manager. `before` is called with each directory where one may come, and each file that reports
/// one's state, before it is read.
ApplicationUnits readApplicationUnits(
    const std::string& root,
    const std::function<void(const std::string& path, bool directory)>& before);

}  // namespace zorva
