#include "core/LogFile.h"

#include <fcntl.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "core/ZorvaState.h"
#include "platform/AccountDatabase.h"
#include "platform/Clock.h"
#include "platform/DateFormatting.h"
#include "platform/DeviceInformation.h"
#include "platform/FileSystem.h"
#include "platform/SystemLog.h"
#include "platform/Text.h"

namespace zorva {
namespace {

constexpr const char* kFileDatePattern = "YYYY-MM-dd-HHmmss";
constexpr int kLastAttempt = 9;

bool exists(const std::string& hostPath) {
  // A link counts as a file, wherever it leads.
  struct stat status;
  return ::lstat(hostPath.c_str(), &status) == 0;
}

// The first free name for this moment, or the last one tried.
std::string newLogFilePath() {
  const Platform& platform = *sZorvaState.platform;
  const auto formatter = platform.dates.makeFormatter(kFileDatePattern);
  const std::string device =
      platform.device.answer("UserAssignedDeviceName").text().value_or("Unknown");
  std::string path;
  for (int attempt = 0; attempt <= kLastAttempt; ++attempt) {
    path =
        formatText("%s/Zorva_%s", kLogDirectory, formatter->format(platform.clock.now()).c_str());
    if (attempt > 0) path += formatText("-%d", attempt);
    path += "_" + device + ".zorva";
    if (!exists(platform.files.hostPath(path))) break;
  }
  return path;
}

// Only a plain file of ours (or of the user we give files to) with no other name is written to.
bool isSafeToAppend(int descriptor, const std::optional<AccountDatabase::Ids>& mobile) {
  struct stat status;
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return false;
  const bool ours =
      status.st_uid == ::geteuid() || (mobile.has_value() && status.st_uid == mobile->user);
  return ours && status.st_nlink == 1;
}

bool openNewLogFile() {
  const Platform& platform = *sZorvaState.platform;
  sZorvaState.logFilePath = newLogFilePath();
  if (sZorvaState.logFilePath.empty()) {
    platform.systemLog.write("Unable to create a new file name");
    return false;
  }
  const auto mobile = platform.accounts.idsOfUser("mobile");
  // Without O_NONBLOCK a planted pipe would hold the daemon up; regular files do not mind it.
  const int descriptor =
      ::open(platform.files.hostPath(sZorvaState.logFilePath).c_str(),
             O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0644);
  if (descriptor < 0 || !isSafeToAppend(descriptor, mobile)) {
    if (descriptor >= 0) ::close(descriptor);
    platform.systemLog.write(
        formatText("Unable to grab a FILE* for '%s'", sZorvaState.logFilePath.c_str()));
    return false;
  }
  auto file = std::make_unique<LogStream>(descriptor, LogStream::Ownership::Owned);
  if (mobile.has_value() && ::fchown(descriptor, mobile->user, mobile->group) != 0) {
    // Then the file stays the daemon's own.
  }
  file->write(formatText("Zorva Version: %d\n", kLogVersion));
  sZorvaState.logFile = std::move(file);
  return true;
}

}  // namespace

bool OpenLogFile() {
  if (!sZorvaState.runAsDaemon) {
    sZorvaState.logFile =
        std::make_unique<LogStream>(STDOUT_FILENO, LogStream::Ownership::Borrowed);
    return true;
  }
  return openNewLogFile();
}

}  // namespace zorva
