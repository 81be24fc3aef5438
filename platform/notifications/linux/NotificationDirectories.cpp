// SPDX-License-Identifier: Apache-2.0
#include "platform/notifications/linux/NotificationDirectories.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::size_t kMaxNameLength = 128;

bool isOwnDirectory(const std::string& path) {
  struct stat status;
  return path.starts_with('/') && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         status.st_uid == ::geteuid();
}

std::string environment(const char* name) {
  const char* value = ::secure_getenv(name);
  return value != nullptr ? value : "";
}

}  // namespace

NotificationDirectories NotificationDirectories::ofProcess() {
  if (::geteuid() == 0) return {"/run/zorva", {}, "/run/user"};
  std::string runtime = environment("XDG_RUNTIME_DIR");
  if (runtime.empty()) runtime = formatText("/run/user/%u", ::geteuid());
  if (isOwnDirectory(runtime)) return {runtime + "/zorva", "/run/zorva", {}};
  return {formatText("/tmp/zorva-%u", ::geteuid()), "/run/zorva", {}};
}

bool isNotificationName(std::string_view name) {
  return !name.empty() && name.size() <= kMaxNameLength && name[0] != '.' &&
         std::all_of(name.begin(), name.end(),
                     [](char c) { return c > ' ' && c < 127 && c != '/'; });
}

Descriptor openRunDirectory(const std::string& path, MissingDirectory missing,
                            std::string& problem) {
  // Users may read the states that root sets.
  const mode_t mode = ::geteuid() == 0 ? 0755 : 0700;
  const bool made = missing == MissingDirectory::Make && ::mkdir(path.c_str(), mode) == 0;
  if (missing == MissingDirectory::Make && !made && errno != EEXIST) {
    problem =
        formatText("Cannot create the directory '%s': %s", path.c_str(), std::strerror(errno));
    return {};
  }
  Descriptor directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!directory && errno == ENOENT && missing == MissingDirectory::Fail) return {};
  struct stat status;
  if (!directory || ::fstat(directory.get(), &status) != 0) {
    problem = formatText("Cannot open the directory '%s': %s", path.c_str(), std::strerror(errno));
    return {};
  }
  if (made) ::fchmod(directory.get(), mode);
  if (status.st_uid != ::geteuid() || (!made && (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)) {
    problem =
        formatText("The directory '%s' must belong to user %u and must not be writable by others",
                   path.c_str(), ::geteuid());
    return {};
  }
  return directory;
}

}  // namespace zorva
