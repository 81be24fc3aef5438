// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <systemd/sd-event.h>
#include <utility>
#include <vector>

#include "platform/kit/loop/EventSources.h"

namespace zorva {

/// Watches a path for changes of the entry to which it resolves, even if it does not exist yet.
///
/// Every symbolic link on the path is watched in its directory. A change is a link that is
/// replaced, or a file or directory that is created, replaced by a rename, written and closed, or
/// removed. Only directories that can change the result are watched: the one that contains the last
/// entry, those that contain links, and, if the path does not exist, its last existing directory.
/// (If a directory in the middle of the path is renamed, that is not noticed.)
class LinuxPathWatch {
 public:
  // libsystemd before 258 loops forever on a pending event of a directory if none of its remaining
  // sources subscribes to it, because the source that did was just removed. So sources with fewer
  // events get an inotify queue of their own, by a priority of their own.
  static constexpr std::int64_t kContentsPriority = SD_EVENT_PRIORITY_NORMAL - 1;

  enum class Of {
    Entry,     ///< the path's last entry and writes to it
    Contents,  ///< entries that appear in or disappear from the directory at the path
  };

  /// Calls back from the event loop, once per event; slow callers must coalesce. The callback may
  /// destroy the watch.
  LinuxPathWatch(sd_event* event, std::string path, Of of, std::function<void()> changed);
  LinuxPathWatch(const LinuxPathWatch&) = delete;
  LinuxPathWatch& operator=(const LinuxPathWatch&) = delete;

 private:
  /// A directory and the relevant entry in it; an empty name means all entries.
  using Place = std::pair<std::string, std::string>;
  struct Watched {
    LinuxPathWatch* owner;
    Place place;
    EventSource source;
  };

  std::vector<Place> placesOfPath() const;
  void follow();
  static int placeChanged(sd_event_source*, const struct inotify_event* event, void* watched);

  sd_event* event_;
  std::string path_;
  Of of_;
  std::function<void()> changed_;
  std::vector<std::unique_ptr<Watched>> watched_;
};

}  // namespace zorva
