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
#include "platform/FileSystem.h"
#include "platform/RunLoop.h"
#include "platform/SystemLog.h"
#include "platform/Text.h"

namespace zorva {
namespace {

// One of the two conditions without which a daemon makes no sense. Standard error is where whoever
// starts the daemon by hand looks; the system log is for whoever has it started.
bool check(bool condition, const char* text) {
  if (condition) return true;
  const std::string message =
      formatText("zorva: WatchCrashReportDirectory: check \"%s\" failed for %s: %s", text,
                 kLogDirectory, std::strerror(errno));
  std::fprintf(stderr, "%s\n", message.c_str());
  sZorvaState.platform->systemLog.write(message);
  return false;
}

bool currentLogFileExists() {
  if (sZorvaState.logFilePath.empty()) return false;
  struct stat status;
  return ::stat(sZorvaState.platform->files.hostPath(sZorvaState.logFilePath).c_str(), &status) ==
         0;
}

}  // namespace

bool WatchCrashReportDirectory() {
  const Platform& platform = *sZorvaState.platform;
  if (sZorvaState.kqueue == -1) {
    sZorvaState.crashReportDirectoryDescriptor = platform.files.openForEvents(kLogDirectory);
    if (!check(sZorvaState.crashReportDirectoryDescriptor > 0,
               "sZorvaState.crashReportDirectoryDescriptor > 0")) {
      return false;
    }
    sZorvaState.kqueue = platform.files.makeEventQueue();
    if (!check(sZorvaState.kqueue > 0, "sZorvaState.kqueue > 0")) return false;
    platform.files.watchDirectory(sZorvaState.kqueue, sZorvaState.crashReportDirectoryDescriptor);
  }
  sZorvaState.watchSource =
      platform.runLoop.watchDescriptor(sZorvaState.kqueue, CrashReportDirectoryCallback);
  return true;
}

void UnwatchCrashReportDirectory() {
  sZorvaState.watchSource.reset();
  for (int* descriptor : {&sZorvaState.kqueue, &sZorvaState.crashReportDirectoryDescriptor}) {
    if (*descriptor != -1) ::close(std::exchange(*descriptor, -1));
  }
}

void CrashReportDirectoryCallback() {
  // Taken before the look at the file: what happens from here on makes the queue readable again.
  sZorvaState.platform->files.takeEvents(sZorvaState.kqueue);
  if (currentLogFileExists()) return;
  sZorvaState.platform->systemLog.write("creating new log");
  StartLogging();
}

}  // namespace zorva
