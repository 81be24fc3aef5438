// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/loop/LinuxPathWatch.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <string_view>
#include <sys/inotify.h>
#include <sys/stat.h>

namespace zorva {
namespace {

constexpr int kMaxLinks = 40;  // the kernel's own limit
// If the path changes while its watches are added, they are added again.
constexpr int kMaxRounds = 8;

constexpr std::uint32_t kEntryEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
// IN_ATTRIB: a socket gets its mode when it is ready for clients.
constexpr std::uint32_t kWriteEvents = IN_CLOSE_WRITE | IN_ATTRIB;
constexpr std::uint32_t kSelfEvents = IN_DELETE_SELF | IN_MOVE_SELF;

std::deque<std::string> components(const std::filesystem::path& path) {
  std::deque<std::string> components;
  for (const auto& component : path.relative_path()) {
    const std::string name = component.string();
    if (!name.empty() && name != ".") components.push_back(name);
  }
  return components;
}

}  // namespace

LinuxPathWatch::LinuxPathWatch(sd_event* event, std::string path, Of of,
                               std::function<void()> changed)
    : event_(event), path_(std::move(path)), of_(of), changed_(std::move(changed)) {
  follow();
}

std::vector<LinuxPathWatch::Place> LinuxPathWatch::placesOfPath() const {
  std::vector<Place> places;
  std::deque<std::string> ahead = components(path_);
  std::filesystem::path directory = "/";
  int links = 0;
  while (!ahead.empty()) {
    const std::string name = ahead.front();
    ahead.pop_front();
    if (name == "..") {
      directory = directory.parent_path();
      continue;
    }
    const std::filesystem::path entry = directory / name;
    std::error_code error;
    const auto status = std::filesystem::symlink_status(entry, error);
    const bool link = std::filesystem::is_symlink(status);
    const bool enter =
        std::filesystem::is_directory(status) && (!ahead.empty() || of_ == Of::Contents);
    if (!enter) places.emplace_back(directory.string(), name);
    if (link && ++links <= kMaxLinks) {
      const auto target = std::filesystem::read_symlink(entry, error);
      if (target.is_absolute()) directory = "/";
      auto further = components(target);
      ahead.insert(ahead.begin(), further.begin(), further.end());
    } else if (enter) {
      directory = entry;
    } else {
      return places;
    }
  }
  if (of_ == Of::Contents) places.emplace_back(directory.string(), "");
  return places;
}

void LinuxPathWatch::follow() {
  for (int round = 0; round < kMaxRounds; ++round) {
    const std::vector<Place> wanted = placesOfPath();
    if (std::equal(
            wanted.begin(), wanted.end(), watched_.begin(), watched_.end(),
            [](const Place& place, const auto& watched) { return place == watched->place; })) {
      return;
    }
    watched_.clear();
    for (const Place& place : wanted) {
      auto watched = std::make_unique<Watched>(Watched{this, place, nullptr});
      const std::uint32_t writes = of_ == Of::Entry ? kWriteEvents : 0;
      sd_event_source* source = nullptr;
      if (sd_event_add_inotify(event_, &source, place.first.c_str(),
                               kEntryEvents | writes | kSelfEvents | IN_ONLYDIR, placeChanged,
                               watched.get()) >= 0) {
        watched->source.reset(source);
        if (of_ == Of::Contents) sd_event_source_set_priority(source, kContentsPriority);
        watched_.push_back(std::move(watched));
      }
    }
  }
}

int LinuxPathWatch::placeChanged(sd_event_source*, const inotify_event* event, void* userdata) {
  auto* watched = static_cast<Watched*>(userdata);
  LinuxPathWatch* owner = watched->owner;
  const std::string& name = watched->place.second;
  if (event->mask & (kSelfEvents | IN_IGNORED | IN_Q_OVERFLOW | IN_UNMOUNT)) {
    owner->watched_.clear();
  } else if (event->len == 0 || (!name.empty() && name != event->name)) {
    return 0;
  }
  owner->follow();
  const auto changed = owner->changed_;
  changed();
  return 0;
}

}  // namespace zorva
