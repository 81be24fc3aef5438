// SPDX-License-Identifier: Apache-2.0
#include "platform/storage/PropertyListPreferences.h"

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/base/RenameToNew.h"
#include "platform/base/Text.h"
#include "platform/storage/PropertyList.h"

namespace zorva {
namespace {

constexpr std::size_t kMaxFileSize = std::size_t{1} << 20;
constexpr int kMaxKeptAside = 100;
constexpr int kMaxTemporaries = 100;

struct Loaded {
  enum class State { Good, Missing, Damaged, Unreadable } state;
  PropertyList list;
};

Loaded::State stateAfterFailedOpen(int error) {
  if (error == ENOENT) return Loaded::State::Missing;
  // A link (ELOOP) or a socket (ENXIO) in place of the file.
  return error == ELOOP || error == ENXIO ? Loaded::State::Damaged : Loaded::State::Unreadable;
}

// Whether this is the file's only name. Otherwise a user could link a file that only we may read
// into the directory, and find its contents in the rewritten file.
bool isOnlyName(const DirectoryEntry& entry, const struct stat& opened) {
  struct stat named;
  return ::fstatat(entry.directory.get(), entry.name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         named.st_dev == opened.st_dev && named.st_ino == opened.st_ino && named.st_nlink == 1;
}

Loaded load(const DirectoryEntry& entry) {
  // Non-blocking, in case it is a named pipe without a writer.
  const Descriptor file(::openat(entry.directory.get(), entry.name.c_str(),
                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file) return {stateAfterFailedOpen(errno), {}};
  struct stat status;
  if (::fstat(file.get(), &status) != 0) return {Loaded::State::Unreadable, {}};
  if (!S_ISREG(status.st_mode) || !isOnlyName(entry, status)) return {Loaded::State::Damaged, {}};
  std::string text;
  char buffer[4096];
  while (text.size() <= kMaxFileSize) {
    const ssize_t count = ::read(file.get(), buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return {Loaded::State::Unreadable, {}};
    if (count == 0) break;
    text.append(buffer, static_cast<std::size_t>(count));
  }
  if (text.size() > kMaxFileSize) return {Loaded::State::Damaged, {}};
  auto list = PropertyList::parse(text);
  if (!list) return {Loaded::State::Damaged, {}};
  return {Loaded::State::Good, std::move(*list)};
}

std::string temporaryStem(const std::string& name) {
  return "." + name + ".new-";
}

// Removes the unfinished files of processes that were killed while writing.
void removeStaleTemporaries(const DirectoryEntry& entry) {
  const int descriptor = ::openat(entry.directory.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* directory = descriptor < 0 ? nullptr : ::fdopendir(descriptor);
  if (directory == nullptr) {
    if (descriptor >= 0) ::close(descriptor);
    return;
  }
  const std::string stem = temporaryStem(entry.name);
  while (const dirent* found = ::readdir(directory)) {
    const std::string_view name = found->d_name;
    if (!name.starts_with(stem)) continue;
    const int process = std::atoi(found->d_name + stem.size());
    if (process <= 0 || process == ::getpid() || (::kill(process, 0) != 0 && errno == ESRCH)) {
      ::unlinkat(entry.directory.get(), found->d_name, 0);
    }
  }
  ::closedir(directory);
}

bool writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(file, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// A new file beside the entry, with the whole text on disk. It is deleted unless it replaces the
// entry.
class Replacement {
 public:
  Replacement(const DirectoryEntry& entry, std::string_view text,
              const std::optional<AccountDatabase::Ids>& owner)
      : entry_(entry) {
    removeStaleTemporaries(entry);
    Descriptor file;
    for (int number = 0; number < kMaxTemporaries && !file; ++number) {
      name_ = temporaryStem(entry.name) + formatText("%d-%d", ::getpid(), number);
      file = Descriptor(::openat(entry.directory.get(), name_.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
      if (!file && errno != EEXIST) break;
    }
    exists_ = static_cast<bool>(file);
    if (!exists_ || !writeAll(file.get(), text)) return;
    if (owner) (void)!::fchown(file.get(), owner->user, owner->group);
    whole_ = ::fchmod(file.get(), 0644) == 0 && ::fsync(file.get()) == 0;
  }
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;
  ~Replacement() {
    if (exists_) ::unlinkat(entry_.directory.get(), name_.c_str(), 0);
  }

  bool whole() const { return whole_; }

  bool takePlace() {
    const int directory = entry_.directory.get();
    if (::renameat(directory, name_.c_str(), directory, entry_.name.c_str()) != 0) return false;
    exists_ = false;
    const Descriptor readable(::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (readable) ::fsync(readable.get());
    return true;
  }

 private:
  const DirectoryEntry& entry_;
  std::string name_;
  bool exists_ = false;
  bool whole_ = false;
};

bool isFileName(const std::string& name) {
  return !name.empty() && name[0] != '.' && name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

}  // namespace

std::optional<std::string> PropertyListPreferences::pathOf(const Scope& scope) const {
  if (!isFileName(scope.user) || !isFileName(scope.domain)) return std::nullopt;
  return "/var/" + scope.user + "/Library/Preferences/" + scope.domain + ".plist";
}

Value PropertyListPreferences::value(const Scope& scope, const std::string& key) {
  const auto path = pathOf(scope);
  if (!path) return {};
  Unwritten& unwritten = unwritten_[*path];
  if (unwritten.set.contains(key)) return unwritten.set[key];
  const auto entry = openDirectoryOf(files_.hostPath(*path));
  Value stored = entry ? load(*entry).list.value(key) : Value();
  return stored.isNothing() ? unwritten.failed[key] : stored;
}

void PropertyListPreferences::setValue(const Scope& scope, const std::string& key, Value value) {
  if (const auto path = pathOf(scope)) unwritten_[*path].set.set(key, std::move(value));
}

bool PropertyListPreferences::synchronize(const Scope& scope) {
  const auto path = pathOf(scope);
  if (!path) return false;
  Unwritten& unwritten = unwritten_[*path];
  if (unwritten.set.empty() && unwritten.failed.empty()) return true;
  if (write(scope, *path, unwritten)) {
    unwritten_.erase(*path);
    return true;
  }
  for (const auto& [key, value] : unwritten.set) unwritten.failed.set(key, value);
  unwritten.set = {};
  return false;
}

bool PropertyListPreferences::write(const Scope& scope, const std::string& path,
                                    const Unwritten& unwritten) {
  const auto owner = accounts_.idsOfUser(scope.user);
  // If we create "mobile", "Library" and "Preferences", they belong to the user.
  const NewDirectories make{owner, 3};
  const auto entry = openDirectoryOf(files_.hostPath(path), &make);
  if (!entry) return false;
  Loaded loaded = load(*entry);
  if (loaded.state == Loaded::State::Unreadable) return false;
  for (const auto& [key, value] : unwritten.failed) {
    if (loaded.list.value(key).isNothing()) loaded.list.set(key, value);
  }
  for (const auto& [key, value] : unwritten.set) loaded.list.set(key, value);
  const std::string text = loaded.list.text();
  if (text.size() > kMaxFileSize) return false;

  Replacement replacement(*entry, text, owner);
  if (!replacement.whole()) return false;
  if (loaded.state == Loaded::State::Damaged && !keepAside(*entry, path)) return false;
  return replacement.takePlace();
}

bool PropertyListPreferences::keepAside(const DirectoryEntry& entry, const std::string& path) {
  const int directory = entry.directory.get();
  for (int number = 1; number <= kMaxKeptAside; ++number) {
    const std::string suffix = formatText(".damaged-%d", number);
    if (renameToNew(directory, entry.name.c_str(), directory, (entry.name + suffix).c_str()) == 0) {
      systemLog_.write(formatText("The preferences in '%s' cannot be read; kept as '%s%s'",
                                  path.c_str(), path.c_str(), suffix.c_str()));
      return true;
    }
    if (errno != EEXIST) return false;
  }
  return false;
}

}  // namespace zorva
