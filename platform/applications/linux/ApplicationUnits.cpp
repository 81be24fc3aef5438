// SPDX-License-Identifier: Apache-2.0
#include "platform/applications/linux/ApplicationUnits.h"

#include <fstream>
#include <sstream>

#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

constexpr int kDeepest = 5;  // slices below "app.slice"

bool isBetween(std::string_view name, std::string_view start, std::string_view end) {
  return name.starts_with(start) && name.ends_with(end);
}

class Search {
 public:
  explicit Search(const std::function<void(const std::string&, bool)>& before) : before_(before) {}

  void lookInto(const std::string& root) {
    before_(root, true);
    const std::string users = root + "/user.slice";
    for (const std::string& user : entries(users)) {
      if (!isBetween(user, "user-", ".slice")) continue;
      for (const std::string& manager : entries(users + "/" + user)) {
        if (!isBetween(manager, "user@", ".service")) continue;
        const std::string directory = users + "/" + user + "/" + manager;
        before_(directory, true);
        lookIntoSlice(directory + "/app.slice", 0);
      }
    }
  }

  ApplicationUnits found;

 private:
  std::vector<std::string> entries(const std::string& directory) {
    before_(directory, true);
    return entryNames(directory);
  }

  void lookIntoSlice(const std::string& slice, int depth) {
    for (const std::string& name : entries(slice)) {
      const std::string directory = slice + "/" + name;
      if (const auto application = applicationOfUnit(name)) {
        lookAtUnit(directory, *application);
      } else if (name.ends_with(".slice") && depth < kDeepest) {
        lookIntoSlice(directory, depth + 1);
      }
    }
  }

  void lookAtUnit(const std::string& directory, const std::string& application) {
    const std::string events = directory + "/cgroup.events";
    before_(events, false);
    std::istringstream lines(readAttribute(events).value_or(""));
    bool populated = false, frozen = false;
    int value = 0;
    for (std::string key; lines >> key >> value;) {
      if (key == "populated") populated = value == 1;
      if (key == "frozen") frozen = value == 1;
    }
    if (populated) found[directory] = {application, frozen, readUnitProcesses(directory)};
  }

  const std::function<void(const std::string&, bool)>& before_;
};

}  // namespace

std::vector<std::int32_t> readUnitProcesses(const std::string& directory) {
  std::vector<std::int32_t> processes;
  std::ifstream list(directory + "/cgroup.procs");
  for (pid_t pid = 0; list >> pid;) processes.push_back(pid);
  return processes;
}

ApplicationUnits readApplicationUnits(const std::string& root,
                                      const std::function<void(const std::string&, bool)>& before) {
  Search search(before);
  search.lookInto(root);
  return std::move(search.found);
}

}  // namespace zorva
