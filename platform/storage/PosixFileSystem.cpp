// SPDX-License-Identifier: Apache-2.0
#include "platform/storage/PosixFileSystem.h"

#include <climits>
#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "platform/base/Text.h"

namespace zorva {
namespace {

// Never IN_MODIFY: each entry written to the log would wake the process that wrote it.
constexpr std::uint32_t kDirectoryEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                           IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t kDirectoryRemovalEvents = IN_DELETE | IN_MOVED_FROM | IN_ONLYDIR;
constexpr std::uint32_t kDirectoryCreationEvents =
    IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

// The path without its last component; "/" for the root.
std::string parentOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

}  // namespace

PosixFileSystem::PosixFileSystem(std::string root) : root_(std::move(root)) {
  while (!root_.empty() && root_.back() == '/') root_.pop_back();
}

int PosixFileSystem::openForEvents(const std::string& directory) {
  return ::open(hostPath(directory).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

int PosixFileSystem::makeEventQueue() {
  const int queue = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  watches_.erase(queue);  // of an earlier queue that was closed
  return queue;
}

bool PosixFileSystem::watchDirectory(int queue, int directory) {
  const std::string link = formatText("/proc/self/fd/%d", directory);
  char path[PATH_MAX];
  const ssize_t length = ::readlink(link.c_str(), path, sizeof path);
  if (length <= 0) return false;
  const int number = ::inotify_add_watch(queue, link.c_str(), kDirectoryEvents);
  if (number < 0) return false;
  Watch& watch = watches_[queue];
  watch = {std::string(path, static_cast<std::size_t>(length)), number};
  refresh(queue, watch);
  return true;
}

void PosixFileSystem::takeEvents(int queue) {
  const auto found = watches_.find(queue);
  // After a watch has changed, another round is made: the directory may have changed before the
  // watch was added, and removing the old one queues an event.
  do {
    char buffer[4096];
    while (::read(queue, buffer, sizeof buffer) > 0) {
    }
  } while (found != watches_.end() && refresh(queue, found->second));
}

// Watches the directories to be watched now. Returns whether they differ from before.
bool PosixFileSystem::refresh(int queue, Watch& watch) {
  // Adding an existing watch again returns the same number and changes nothing.
  const Watch before = watch;
  watch.directory = ::inotify_add_watch(queue, watch.path.c_str(), kDirectoryEvents);
  watch.ancestor = -1;
  for (std::string path = watch.path; path != "/" && watch.ancestor < 0;) {
    path = parentOf(path);
    watch.ancestor = ::inotify_add_watch(
        queue, path.c_str(),
        watch.directory >= 0 ? kDirectoryRemovalEvents : kDirectoryCreationEvents);
  }
  for (const int old : {before.directory, before.ancestor}) {
    if (old >= 0 && old != watch.directory && old != watch.ancestor) ::inotify_rm_watch(queue, old);
  }
  return watch.directory != before.directory || watch.ancestor != before.ancestor;
}

}  // namespace zorva
