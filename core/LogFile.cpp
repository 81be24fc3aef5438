// SPDX-License-Identifier: Apache-2.0
#include "core/LogFile.h"

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "core/ZorvaState.h"
#include "platform/base/Text.h"
#include "platform/locale/DateFormatting.h"
#include "platform/loop/Clock.h"
#include "platform/storage/FileSystem.h"
#include "platform/system/AccountDatabase.h"
#include "platform/system/DeviceInformation.h"
#include "platform/system/SystemLog.h"

namespace zorva {
namespace {

constexpr const char* kFileDatePattern = "YYYY-MM-dd-HHmmss";
constexpr int kLastAttempt = 9;

// The file must be new: a name that exists already, even as a link, is not opened.
int createFile(const std::string& hostPath) {
  return ::open(hostPath.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_NOCTTY | O_CLOEXEC,
                0644);
}

// Opens an existing file if it can be one that an earlier start left: a regular file with a single
// link and the owner of our log files. O_NONBLOCK keeps a planted pipe from blocking the daemon; it
// has no effect on regular files.
int openExistingFile(const std::string& hostPath,
                     const std::optional<AccountDatabase::Ids>& mobile) {
  const int descriptor = ::open(
      hostPath.c_str(), O_WRONLY | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (descriptor < 0) return -1;
  const bool changesOwner = ::geteuid() == 0 && mobile.has_value();
  struct stat status;
  if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1 &&
      status.st_uid == (changesOwner ? mobile->user : ::geteuid())) {
    return descriptor;
  }
  ::close(descriptor);
  return -1;
}

// Creates a file under the first free name for this second, or appends to the last name tried.
// Stores the path in sZorvaState.logFilePath; it is empty if no file could be opened.
int openNextFile(const std::optional<AccountDatabase::Ids>& mobile) {
  const Platform& platform = *sZorvaContext.platform;
  const auto formatter = platform.dates.makeFormatter(kFileDatePattern);
  const std::string device =
      platform.device.answer("UserAssignedDeviceName").text().value_or("Unknown");
  for (int attempt = 0; attempt <= kLastAttempt; ++attempt) {
    const std::string stamp = formatter->format(platform.clock.now());
    if (stamp.empty()) break;
    std::string& path = sZorvaState.logFilePath;
    path = formatText("%s/Zorva_%s", kLogDirectory, stamp.c_str());
    if (attempt > 0) path += formatText("-%d", attempt);
    path += "_" + device + ".zorva";
    const std::string hostPath = platform.files.hostPath(path);
    const int descriptor = createFile(hostPath);
    if (descriptor >= 0) {
      // If the owner cannot be changed, the file stays the daemon's own.
      if (mobile.has_value() && ::fchown(descriptor, mobile->user, mobile->group) != 0) errno = 0;
      return descriptor;
    }
    if (errno != EEXIST) return -1;
    if (attempt == kLastAttempt) return openExistingFile(hostPath, mobile);
  }
  return -1;
}

bool openNewLogFile() {
  const Platform& platform = *sZorvaContext.platform;
  sZorvaState.logFilePath.clear();
  const int descriptor = openNextFile(platform.accounts.idsOfUser("mobile"));
  if (sZorvaState.logFilePath.empty()) {
    platform.systemLog.write("Unable to create a new file name");
    return false;
  }
  if (descriptor < 0) {
    platform.systemLog.write(
        formatText("Unable to grab a FILE* for '%s'", sZorvaState.logFilePath.c_str()));
    return false;
  }
  sZorvaState.logFile = std::make_unique<LogStream>(descriptor, LogStream::Ownership::Owned);
  sZorvaState.logFile->write(formatText("Zorva Version: %d\n", kLogVersion));
  return true;
}

}  // namespace

bool OpenLogFile() {
  if (!sZorvaState.runAsDaemon) {
    sZorvaState.logFile =
        std::make_unique<LogStream>(STDOUT_FILENO, LogStream::Ownership::Borrowed, ReaderIsGone);
    return true;
  }
  return openNewLogFile();
}

}  // namespace zorva
