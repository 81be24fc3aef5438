// SPDX-License-Identifier: Apache-2.0
#include "core/DirectoryWatch.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "core/Logging.h"
#include "core/ZorvaState.h"
#include "platform/base/Text.h"
#include "platform/loop/RunLoop.h"
#include "platform/storage/FileSystem.h"
#include "platform/system/SystemLog.h"

namespace zorva {
namespace {

// The daemon cannot work without the directory or without its watch. The message goes to standard
// error for a person who starts the daemon in a terminal, and to the system log for a service.
bool check(bool condition, const char* text) {
  if (condition) return true;
  const std::string message =
      formatText("WatchCrashReportDirectory: check \"%s\" failed for %s: %s", text, kLogDirectory,
                 std::strerror(errno));
  std::fprintf(stderr, "zorva: %s\n", message.c_str());
  sZorvaContext.platform->systemLog.write(message);
  return false;
}

// If no log could be opened, the file that has its name is left alone. An editor or another user of
// the directory may have replaced the current log by another file or a link: then the log is gone.
bool currentLogFileExists() {
  if (sZorvaState.logFilePath.empty()) return false;
  const std::string path = sZorvaContext.platform->files.hostPath(sZorvaState.logFilePath);
  struct stat named;
  if (::stat(path.c_str(), &named) != 0) return false;
  struct stat written;
  return !sZorvaState.logFile || (::fstat(sZorvaState.logFile->descriptor(), &written) == 0 &&
                                  named.st_dev == written.st_dev && named.st_ino == written.st_ino);
}

}  // namespace

bool WatchCrashReportDirectory() {
  const Platform& platform = *sZorvaContext.platform;
  if (sZorvaState.kqueue == -1) {
    sZorvaState.crashReportDirectoryDescriptor = platform.files.openForEvents(kLogDirectory);
    if (!check(sZorvaState.crashReportDirectoryDescriptor > 0,
               "sZorvaState.crashReportDirectoryDescriptor > 0")) {
      return false;
    }
    sZorvaState.kqueue = platform.files.makeEventQueue();
    if (!check(sZorvaState.kqueue > 0, "sZorvaState.kqueue > 0")) return false;
    sZorvaState.watchDescriptorObject =
        Registration([] { ::close(std::exchange(sZorvaState.kqueue, -1)); });
  }
  // If the watch fails, the daemon continues with its current file.
  const bool watched =
      platform.files.watchDirectory(sZorvaState.kqueue, sZorvaState.crashReportDirectoryDescriptor);
  sZorvaState.watchSource =
      platform.runLoop.watchDescriptor(sZorvaState.kqueue, CrashReportDirectoryCallback);
  if (!watched || !sZorvaState.watchSource) {
    platform.systemLog.write(
        formatText("Unable to watch %s: a log file that disappears will not be "
                   "followed by a new one",
                   kLogDirectory));
  }
  return true;
}

void UnwatchCrashReportDirectory() {
  sZorvaState.watchSource.reset();
  sZorvaState.watchDescriptorObject.reset();
  int& directory = sZorvaState.crashReportDirectoryDescriptor;
  if (directory != -1) ::close(std::exchange(directory, -1));
}

void CrashReportDirectoryCallback() {
  // Read the event before checking the file: any later change makes the queue readable again.
  sZorvaContext.platform->files.takeEvents(sZorvaState.kqueue);
  if (currentLogFileExists()) return;
  sZorvaContext.platform->systemLog.write("creating new log");
  StartLogging();
}

}  // namespace zorva
