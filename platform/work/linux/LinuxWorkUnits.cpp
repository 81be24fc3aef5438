// SPDX-License-Identifier: Apache-2.0
#include "platform/work/linux/LinuxWorkUnits.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>
#include <utility>

#include "platform/base/Descriptor.h"
#include "platform/base/Text.h"
#include "platform/kit/files/DirectoryEntries.h"
#include "platform/kit/files/UnitNames.h"

namespace zorva {
namespace {

constexpr int kDeepest = 16;  // groups that are looked into, one in the other
constexpr const char* kRoot = "-.slice";
constexpr std::int64_t kMaxUsed = std::int64_t{1} << 53;  // microseconds: 285 years
constexpr std::string_view kUsed = "usage_usec ";

// The user whose service manager the group is: "1000" of "user@1000.service".
std::string_view managedUser(std::string_view group) {
  constexpr std::string_view kStart = "user@", kEnd = ".service";
  if (!group.starts_with(kStart) || !group.ends_with(kEnd)) return {};
  group.remove_prefix(kStart.size());
  return group.substr(0, group.size() - kEnd.size());
}

// Other groups are a unit with all that is in them: what a service or a container makes of its own
// group is its own affair.
bool holdsUnits(std::string_view group) {
  return group.ends_with(".slice") || !managedUser(group).empty();
}

// A user's units, whose names the system and other users may have, too, are told apart by the
// user's id, as processes are by theirs.
std::string nameOf(std::string_view group, const std::string& user) {
  // Put before a name that is a file's.
  if (group.starts_with('_') && group.size() > 1) group.remove_prefix(1);
  std::string name(group);
  if (user.empty()) return name;
  if (const auto application = applicationUnitName(group)) {
    name = "app-" + application->application;
    if (!application->instance.empty()) name += "@" + application->instance;
    if (isUniqueInstance(application->instance)) return name;
  }
  return name + "(" + user + ")";
}

// Users name groups as they like, such as "a=1; b.scope", and some parts of the names are left out.
void makeNamesDistinct(std::vector<WorkUnits::Unit>& units) {
  for (WorkUnits::Unit& unit : units) {
    std::ranges::replace_if(
        unit.name, [](char c) { return c == '=' || c == ';'; }, '_');
  }
  std::ranges::sort(units, {}, &WorkUnits::Unit::name);
  std::vector<WorkUnits::Unit> merged;
  for (WorkUnits::Unit& unit : units) {
    if (!merged.empty() && merged.back().name == unit.name) {
      merged.back().used += unit.used;
    } else {
      merged.push_back(std::move(unit));
    }
  }
  units = std::move(merged);
}

}  // namespace

struct LinuxWorkUnits::Group {
  std::string directory;  ///< in the parent's
  std::string name;       ///< of its unit
  std::string user;       ///< whose service manager has it; empty for the system's
};

std::string LinuxWorkUnits::usualRoot() {
  for (const char* root : {"/sys/fs/cgroup", "/sys/fs/cgroup/unified"}) {
    if (::access((std::string(root) + "/cgroup.controllers").c_str(), F_OK) == 0) return root;
  }
  return {};
}

std::optional<std::vector<WorkUnits::Unit>> LinuxWorkUnits::units() {
  units_.clear();
  if (!root_.empty()) readGroup(AT_FDCWD, {root_, kRoot, ""}, 0);
  if (units_.empty() || units_.front().name == kRoot) return std::nullopt;  // which comes last
  makeNamesDistinct(units_);
  return std::move(units_);
}

// Answers what the group has used with all in it. Its own figure is read last: it cannot be less
// than those below it were.
LinuxWorkUnits::Microseconds LinuxWorkUnits::readGroup(int parent, const Group& group, int depth) {
  const Descriptor directory(
      ::openat(parent, group.directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory) return {};
  std::vector<std::string> names;
  forEachEntry(directory.get(), entries_, [&](const char* name, unsigned char type) {
    if (type == DT_DIR) names.emplace_back(name);
  });
  Microseconds inside{};
  for (const std::string& name : names) {
    if (holdsUnits(name) && depth < kDeepest) {
      const std::string_view user = managedUser(name);
      inside +=
          readGroup(directory.get(),
                    {name, nameOf(name, group.user), user.empty() ? group.user : std::string(user)},
                    depth + 1);
    } else if (const auto used = readUsed(directory.get(), (name + "/cpu.stat").c_str())) {
      units_.push_back({nameOf(name, group.user), *used});
      inside += *used;
    }
  }
  const auto used = readUsed(directory.get(), "cpu.stat");
  if (used) units_.push_back({group.name, std::max(*used - inside, Microseconds())});
  return used ? std::max(*used, inside) : inside;
}

std::optional<LinuxWorkUnits::Microseconds> LinuxWorkUnits::readUsed(int directory,
                                                                     const char* path) {
  const Descriptor file(::openat(directory, path, O_RDONLY | O_CLOEXEC));
  std::array<char, 64> start;  // the figure is the first line
  const ssize_t length = file ? ::read(file.get(), start.data(), start.size()) : -1;
  if (length <= 0) return std::nullopt;
  std::string_view text(start.data(), static_cast<std::size_t>(length));
  if (!text.starts_with(kUsed)) return std::nullopt;
  text = text.substr(kUsed.size());
  const auto number = parseNumber<std::int64_t>(text.substr(0, text.find('\n')));
  if (!number || *number < 0 || *number > kMaxUsed) return std::nullopt;
  return Microseconds(*number);
}

}  // namespace zorva
