// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <systemd/sd-event.h>
#include <utility>
#include <vector>

#include "platform/kit/loop/EventSources.h"

namespace zorva {

/// Watches for changes of what a path leads to, also while it leads nowhere yet.
///
/// Every symbolic link on the way is watched where it stands, so that a replaced link counts, as
/// does a file or directory that is created, replaced by a rename, written and closed, or removed.
/// Only directories that can change the outcome are watched: the one that holds the last entry, the
/// ones that hold links, and where the way is broken off, the last one there is. (A directory in
/// the middle of the way that is renamed as a whole goes unnoticed.)
class LinuxPathWatch {
 public:
  enum class Of {
    Entry,     ///< the path's last entry and what is written into it
    Contents,  ///< entries appearing in the directory at the path, and disappearing
  };

  /// Calls back from the event loop, once per event; callers that are slow coalesce. The callback
  /// may destroy the watch.
  LinuxPathWatch(sd_event* event, std::string path, Of of, std::function<void()> changed);
  LinuxPathWatch(const LinuxPathWatch&) = delete;
  LinuxPathWatch& operator=(const LinuxPathWatch&) = delete;

 private:
  /// A directory and the entry in it that matters; no name: all of them.
  using Place = std::pair<std::string, std::string>;
  struct Watched {
    LinuxPathWatch* owner;
    Place place;
    EventSource source;
  };

  std::vector<Place> placesOnTheWay() const;
  void follow();
  static int placeChanged(sd_event_source*, const struct inotify_event* event, void* watched);

  sd_event* event_;
  std::string path_;
  Of of_;
  std::function<void()> changed_;
  std::vector<std::unique_ptr<Watched>> watched_;
};

}  // namespace zorva
