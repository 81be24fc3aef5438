// SPDX-License-Identifier: Apache-2.0
#include "report/read/LogInput.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zorva {
namespace {

std::string adviceFor(int error) {
  switch (error) {
    case ENOENT:
      return " (logs are in /Library/Logs/Faultbox)";
    case EACCES:
      return " (read it as its owner, or as root)";
    default:
      return "";
  }
}

}  // namespace

std::optional<LogInput> LogInput::open(const std::string& path, std::string& problem) {
  LogInput input;
  const bool standard = path == "-";
  input.name_ = standard ? "standard input" : path;
  input.owned_ = !standard;
  input.descriptor_ =
      standard ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  struct stat status {};
  int error = input.descriptor_ < 0 || ::fstat(input.descriptor_, &status) != 0 ? errno : 0;
  if (error == 0 && S_ISDIR(status.st_mode)) error = EISDIR;
  if (error != 0) {
    problem = input.name_ + ": cannot be read: " + std::strerror(error) + adviceFor(error);
    return std::nullopt;
  }
  if (S_ISREG(status.st_mode)) input.size_ = static_cast<std::uint64_t>(status.st_size);
  input.identity_ = {status.st_dev, status.st_ino};
  ::posix_fadvise(input.descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
  return input;
}

LogInput::~LogInput() {
  if (owned_ && descriptor_ >= 0) ::close(descriptor_);
}

bool LogInput::isFileAt(const std::string& path) const {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 &&
         identity_ == std::pair<std::uint64_t, std::uint64_t>(status.st_dev, status.st_ino);
}

std::ptrdiff_t LogInput::read(char* to, std::size_t most) {
  ssize_t count;
  do {
    count = ::read(descriptor_, to, most);
  } while (count < 0 && errno == EINTR);
  return count;
}

}  // namespace zorva
