// SPDX-License-Identifier: Apache-2.0
#include "platform/applications/linux/LinuxApplicationStates.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <sstream>
#include <sys/inotify.h>
#include <utility>

#include "platform/base/Text.h"
#include "platform/kit/files/LogindInhibitors.h"

namespace zorva {
namespace {

constexpr std::array kStates{"gone", "frozen", "running"};
constexpr std::array kReasons{"sleep", "idle", "shutdown", "other"};

template <std::size_t Size>
std::string wordOf(const std::array<const char*, Size>& words, std::int32_t code) {
  if (code >= 0 && static_cast<std::size_t>(code) < Size) return words[code];
  return std::to_string(code);
}

// The reasons of the locks that the processes hold; nothing if the locks cannot be read.
std::optional<std::vector<std::int32_t>> reasonsOf(const ApplicationUnit& unit,
                                                   const std::string& inhibitors) {
  std::error_code error;
  if (!std::filesystem::is_directory(inhibitors, error)) return std::nullopt;
  std::set<std::int32_t> reasons;
  for (const auto& [inhibitor, starts] : readInhibitorStarts(inhibitors)) {
    const auto holder = std::find(unit.processes.begin(), unit.processes.end(),
                                  static_cast<std::int32_t>(inhibitor.pid));
    if (holder == unit.processes.end() || inhibitor.mode == "delay") continue;
    std::istringstream words(inhibitor.what);
    for (std::string word; std::getline(words, word, ':');) {
      const auto known = std::find(kReasons.begin(), kReasons.end() - 1, word);
      reasons.insert(static_cast<std::int32_t>(known - kReasons.begin()));
    }
  }
  return std::vector(reasons.begin(), reasons.end());
}

}  // namespace

LinuxApplicationStates::LinuxApplicationStates(sd_event* event, SystemLog& systemLog,
                                               std::string root, std::string inhibitors)
    : event_(event),
      systemLog_(systemLog),
      root_(std::move(root)),
      inhibitors_(std::move(inhibitors)),
      update_(event, [this] { update(); }) {}

Registration LinuxApplicationStates::observe(
    std::function<void(const ApplicationStateChange&)> changed) {
  return observers_.add(std::move(changed));
}

void LinuxApplicationStates::beginGenerating() {
  if (++generating_ == 1) known_ = readAndWatch();
}

void LinuxApplicationStates::endGenerating() {
  if (--generating_ > 0) return;
  watched_.clear();
  known_.clear();
}

ApplicationUnits LinuxApplicationStates::units() {
  return generating_ > 0 ? known_ : readApplicationUnits(root_, [](const auto&, bool) {});
}

// Each path is watched before it is read, so that no change is missed.
ApplicationUnits LinuxApplicationStates::readAndWatch() {
  std::map<std::string, std::unique_ptr<Watched>> before = std::exchange(watched_, {});
  return readApplicationUnits(root_, [&](const std::string& path, bool directory) {
    std::unique_ptr<Watched>& watched = watched_[path];
    if (watched) return;
    auto old = before.extract(path);
    if (!old.empty() && !old.mapped()->ended) {
      watched = std::move(old.mapped());
      return;
    }
    watched = std::make_unique<Watched>(Watched{this, path, nullptr});
    const std::uint32_t events =
        directory ? IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR : IN_MODIFY;
    sd_event_source* source = nullptr;
    const int result = sd_event_add_inotify(event_, &source, path.c_str(), events | IN_DELETE_SELF,
                                            pathChanged, watched.get());
    if (result >= 0) {
      watched->source.reset(source);
    } else {
      watched_.erase(path);
      reportRefusal(path, -result);
    }
  });
}

// A missing path is not a refusal: it is read again when its parent directory changes.
void LinuxApplicationStates::reportRefusal(const std::string& path, int error) {
  if (error == ENOENT || error == ENOTDIR || std::exchange(refusalReported_, true)) return;
  systemLog_.write(formatText(
      "Cannot watch '%s', changes of application states may be missed: %s (limits: inotify(7))",
      path.c_str(), std::strerror(error)));
}

int LinuxApplicationStates::pathChanged(sd_event_source*, const inotify_event* event,
                                        void* userdata) {
  auto* watched = static_cast<Watched*>(userdata);
  if (event->mask & (IN_DELETE_SELF | IN_IGNORED)) watched->ended = true;
  if (event->len > 0) watched->owner->endBelow(watched->path + "/" + event->name);
  watched->owner->update_.request();
  return 0;
}

// The kernel reports the removal of a control group only in its parent: watches inside the group
// remain, and never report a group that replaces it.
void LinuxApplicationStates::endBelow(const std::string& path) {
  for (auto at = watched_.lower_bound(path); at != watched_.end(); ++at) {
    if (!at->first.starts_with(path)) break;
    if (at->first.size() == path.size() || at->first[path.size()] == '/') at->second->ended = true;
  }
}

void LinuxApplicationStates::update() {
  if (generating_ == 0) return;
  const ApplicationUnits before = std::exchange(known_, readAndWatch());
  const ApplicationUnits now = known_;  // a copy: an observer may end the generation of events
  for (const auto& [directory, unit] : before) {
    if (now.count(directory) == 0) notify(unit, Gone);
  }
  for (const auto& [directory, unit] : now) {
    const auto old = before.find(directory);
    if (old == before.end() || old->second.frozen != unit.frozen) {
      notify(unit, unit.frozen ? Frozen : Running);
    }
  }
}

void LinuxApplicationStates::notify(const ApplicationUnit& unit, State state) {
  if (generating_ == 0) return;
  ApplicationStateChange change;
  change.displayIdentifier = unit.application;
  if (!unit.processes.empty()) change.pid = unit.processes.front();
  change.state = state;
  if (state != Gone) change.reasons = reasonsOf(unit, inhibitors_);
  observers_.notify(change);
}

std::vector<std::string> LinuxApplicationStates::copyDisplayIdentifiers(bool, bool onlyDebuggable) {
  if (onlyDebuggable) return {};
  std::set<std::string> identifiers;
  for (const auto& [directory, unit] : units()) identifiers.insert(unit.application);
  return {identifiers.begin(), identifiers.end()};
}

std::optional<std::int32_t> LinuxApplicationStates::processOf(
    const std::string& displayIdentifier) {
  for (const auto& [directory, unit] : units()) {
    if (unit.application != displayIdentifier) continue;
    // No event reports that processes start or end.
    const std::vector<std::int32_t> processes = readUnitProcesses(directory);
    if (!processes.empty()) return processes.front();
  }
  return std::nullopt;
}

std::int32_t LinuxApplicationStates::stateOf(const std::string& displayIdentifier) {
  State state = Gone;
  for (const auto& [directory, unit] : units()) {
    if (unit.application == displayIdentifier) {
      state = std::max(state, unit.frozen ? Frozen : Running);
    }
  }
  return state;
}

std::string LinuxApplicationStates::descriptionOfState(std::int32_t state) {
  return wordOf(kStates, state);
}

std::string LinuxApplicationStates::nameOfReason(std::int32_t reason) {
  return wordOf(kReasons, reason);
}

}  // namespace zorva
