// SPDX-License-Identifier: Apache-2.0
#include "platform/notifications/linux/NotificationStates.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr const char* kStates = "states";

struct Found {
  enum class Kind { Missing, Unusable, State } kind = Kind::Missing;
  std::uint64_t state = 0;
  timespec set{};
};

bool isTrusted(uid_t owner) {
  return owner == 0 || owner == ::geteuid();
}

bool isTrustedDirectory(const Descriptor& directory) {
  struct stat status;
  return directory && ::fstat(directory.get(), &status) == 0 && isTrusted(status.st_uid) &&
         (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

Found unusableUnlessMissing() {
  return {errno == ENOENT ? Found::Kind::Missing : Found::Kind::Unusable};
}

Found readIn(const std::string& path, const std::string& name) {
  constexpr int kDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  const Descriptor run(::open(path.c_str(), kDirectory));
  if (!run) return unusableUnlessMissing();
  const Descriptor states(::openat(run.get(), kStates, kDirectory));
  if (!states) return unusableUnlessMissing();
  if (!isTrustedDirectory(run) || !isTrustedDirectory(states)) return {Found::Kind::Unusable};
  const Descriptor file(
      ::openat(states.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file) return unusableUnlessMissing();
  struct stat status;
  char text[32];
  if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || !isTrusted(status.st_uid)) {
    return {Found::Kind::Unusable};
  }
  const ssize_t length = ::read(file.get(), text, sizeof text);
  if (length <= 0) return {Found::Kind::Unusable};
  Found found{Found::Kind::State, 0, status.st_mtim};
  const auto [end, error] = std::from_chars(text, text + length, found.state);
  if (error != std::errc() || end + 1 != text + length || *end != '\n') {
    return {Found::Kind::Unusable};
  }
  return found;
}

bool writeState(int states, const std::string& name, std::uint64_t state) {
  // Names of notifications do not start with ".".
  const std::string temporary = "." + name + formatText(".%d", ::getpid());
  ::unlinkat(states, temporary.c_str(), 0);
  Descriptor file(::openat(states, temporary.c_str(),
                           O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
  if (!file) return false;
  const std::string text = std::to_string(state) + "\n";
  const ssize_t length = ::write(file.get(), text.data(), text.size());
  if (length >= 0 && length < static_cast<ssize_t>(text.size())) errno = ENOSPC;
  if (length == static_cast<ssize_t>(text.size()) && ::fchmod(file.get(), 0644) == 0 &&
      ::renameat(states, temporary.c_str(), states, name.c_str()) == 0) {
    return true;
  }
  const int error = errno;
  ::unlinkat(states, temporary.c_str(), 0);
  errno = error;
  return false;
}

}  // namespace

std::optional<std::uint64_t> readNotificationState(const NotificationDirectories& directories,
                                                   const std::string& name) {
  if (!isNotificationName(name)) return std::nullopt;
  Found last;
  for (const std::string& path : {directories.own, directories.shared}) {
    if (path.empty()) continue;
    const Found found = readIn(path, name);
    if (found.kind == Found::Kind::Unusable) return std::nullopt;
    const bool later =
        std::tie(found.set.tv_sec, found.set.tv_nsec) > std::tie(last.set.tv_sec, last.set.tv_nsec);
    if (found.kind == Found::Kind::State && (last.kind == Found::Kind::Missing || later)) {
      last = found;
    }
  }
  return last.state;
}

bool setNotificationState(const NotificationDirectories& directories, const std::string& name,
                          std::uint64_t state, std::string& problem) {
  if (!isNotificationName(name)) {
    problem = "'" + safeText(name) + "' is not a valid notification name";
    return false;
  }
  if (!openRunDirectory(directories.own, MissingDirectory::Make, problem)) return false;
  const std::string path = directories.own + "/" + kStates;
  const Descriptor states = openRunDirectory(path, MissingDirectory::Make, problem);
  if (!states) return false;
  if (writeState(states.get(), name, state)) return true;
  problem =
      formatText("Cannot write '%s/%s': %s", path.c_str(), name.c_str(), std::strerror(errno));
  return false;
}

}  // namespace zorva
