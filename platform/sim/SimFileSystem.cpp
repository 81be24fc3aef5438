#include "platform/sim/SimFileSystem.h"

#include <array>
#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace zorva {

int SimFileSystem::openForEvents(const std::string& directory) {
  if (openForEventsFault_.strikes()) return -1;
  return ::open(hostPath(directory).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
}

int SimFileSystem::makeEventQueue() {
  if (makeEventQueueFault_.strikes()) return -1;
  return ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
}

bool SimFileSystem::watchDirectory(int queue, int directory) {
  if (watchDirectoryFault_.strikes()) return false;
  const std::string path = "/proc/self/fd/" + std::to_string(directory);
  return ::inotify_add_watch(
             queue, path.c_str(),
             IN_CREATE | IN_DELETE | IN_MOVE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF) >= 0;
}

void SimFileSystem::takeEvents(int queue) {
  std::array<char, 4096> buffer;
  while (::read(queue, buffer.data(), buffer.size()) > 0) {
  }
}

}  // namespace zorva
