// SPDX-License-Identifier: Apache-2.0
#include "platform/storage/SafePath.h"

#include <cerrno>
#include <climits>
#include <deque>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zorva {
namespace {

constexpr int kMaxLinks = 40;  // the kernel's own limit per path

// The link's target, if it may be followed. The link is opened first and then queried, so that
// owner and target belong to the same link.
std::optional<std::string> trustedLink(int directory, const std::string& name) {
  const Descriptor link(::openat(directory, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat status;
  if (!link || ::fstat(link.get(), &status) != 0 || !S_ISLNK(status.st_mode)) return std::nullopt;
  if (status.st_uid != 0 && status.st_uid != ::geteuid()) return std::nullopt;
  char target[PATH_MAX];
  const ssize_t length = ::readlinkat(link.get(), "", target, sizeof target);
  if (length <= 0) return std::nullopt;
  return std::string(target, static_cast<std::size_t>(length));
}

// Prepends the path's components to those still to be walked.
void prepend(const std::string& path, std::deque<std::string>& components) {
  auto place = components.begin();
  for (std::size_t start = 0; start < path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    if (end > start) {
      place = components.insert(place, path.substr(start, end - start)) + 1;
    }
    start = end + 1;
  }
}

Descriptor startOf(const std::string& path) {
  return Descriptor(::open(path.starts_with('/') ? "/" : ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
}

Descriptor makeDirectory(int parent, const std::string& name,
                         const std::optional<AccountDatabase::Ids>& owner) {
  const bool made = ::mkdirat(parent, name.c_str(), 0755) == 0;
  if (!made && errno != EEXIST) return {};
  Descriptor directory(
      ::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status;
  // The owner of the parent may have replaced the new directory by another one.
  if (made && directory && owner && ::fstat(directory.get(), &status) == 0 &&
      status.st_uid == ::geteuid()) {
    (void)!::fchown(directory.get(), owner->user, owner->group);
  }
  return directory;
}

}  // namespace

std::optional<DirectoryEntry> openDirectoryOf(const std::string& path, const NewDirectories* make) {
  std::deque<std::string> components;
  prepend(path, components);
  Descriptor directory = startOf(path);
  for (int links = 0; directory && !components.empty();) {
    const std::string name = std::move(components.front());
    components.pop_front();
    const bool last = components.empty();
    Descriptor next;
    if (!last) {
      next = Descriptor(
          ::openat(directory.get(), name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
      if (!next && errno == ENOENT && make != nullptr) {
        const bool owned = components.size() <= static_cast<std::size_t>(make->owned);
        next = makeDirectory(directory.get(), name, owned ? make->owner : std::nullopt);
      }
      if (next) {
        directory = std::move(next);
        continue;
      }
      if (errno != ENOTDIR && errno != ELOOP) return std::nullopt;
    }
    if (const auto target = trustedLink(directory.get(), name)) {
      if (++links > kMaxLinks) break;
      if (target->starts_with('/')) directory = startOf(*target);
      prepend(*target, components);
      continue;
    }
    if (!last) break;
    if (name == "." || name == "..") {
      errno = EISDIR;
      return std::nullopt;
    }
    return DirectoryEntry{std::move(directory), name};
  }
  if (directory) errno = ELOOP;
  return std::nullopt;
}

}  // namespace zorva
