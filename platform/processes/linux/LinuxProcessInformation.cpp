// SPDX-License-Identifier: Apache-2.0
#include "platform/processes/linux/LinuxProcessInformation.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <unistd.h>

#include "platform/base/Text.h"
#include "platform/kit/files/DirectoryEntries.h"
#include "platform/processes/linux/ProcfsFiles.h"

namespace zorva {
namespace {

static_assert(kNoSuchProcess == ESRCH);

constexpr std::uint32_t kDescriptorIsOther = 1;

// A process that has ended has no directory.
int processError(int error) {
  return error == ENOENT ? kNoSuchProcess : error;
}

ProcAnswer failed(int error) {
  return {-1, error};
}

// "socket:[INODE]". Inodes of sockets have 32 bits.
std::optional<std::uint32_t> inodeOfLink(std::string_view link) {
  constexpr std::string_view kBegin = "socket:[";
  if (!link.starts_with(kBegin) || !link.ends_with(']')) return std::nullopt;
  link.remove_prefix(kBegin.size());
  link.remove_suffix(1);
  return parseNumber<std::uint32_t>(link);
}

ProcAnswer answerText(std::string_view text, std::span<char> buffer) {
  const std::size_t length = std::min(text.size(), buffer.size());
  if (length > 0) std::memcpy(buffer.data(), text.data(), length);
  if (length < buffer.size()) buffer[length] = '\0';
  return {static_cast<int>(length), 0};
}

}  // namespace

LinuxProcessInformation::LinuxProcessInformation(const std::string& procRoot)
    : proc_(openDirectory(AT_FDCWD, procRoot.c_str())), sockets_(procRoot) {}

// Returns an error number, or 0.
int LinuxProcessInformation::listProcesses() {
  processes_.clear();
  if (!proc_) return ENOENT;
  if (::lseek(proc_.get(), 0, SEEK_SET) < 0) return errno;
  const auto add = [&](pid_t pid, const char*) {
    if (pid > 0) processes_.push_back(pid);
  };
  const int error = forEachNumberedEntry(proc_.get(), entries_, add);
  if (!std::is_sorted(processes_.begin(), processes_.end())) {
    std::sort(processes_.begin(), processes_.end());
  }
  return error;
}

ProcAnswer LinuxProcessInformation::proc_listpids(std::span<std::int32_t> processes) {
  socketsStale_ = true;
  process_ = 0;
  if (processes.empty() || !counted_) {
    counted_ = false;
    if (const int error = listProcesses(); error != 0) return failed(error);
  }
  counted_ = processes.empty();
  const std::size_t count =
      counted_ ? processes_.size() : std::min(processes_.size(), processes.size());
  if (!counted_) std::copy_n(processes_.begin(), count, processes.begin());
  return {static_cast<int>(count * sizeof(std::int32_t)), 0};
}

// Returns an error number, or 0.
int LinuxProcessInformation::readDescriptors(pid_t pid) {
  process_ = 0;
  listed_ = false;
  descriptors_.clear();
  if (pid <= 0) return kNoSuchProcess;
  const Descriptor directory(openDirectory(proc_.get(), ProcPath(pid, "fd").text()));
  if (!directory) return processError(errno);
  const auto add = [&](std::int32_t number, const char* name) {
    // Longer than any link to a socket; the targets of other links do not matter.
    char link[32];
    const ssize_t length = ::readlinkat(directory.get(), name, link, sizeof link);
    if (length < 0 && errno == ENOENT) return;  // closed since
    const auto inode = inodeOfLink({link, static_cast<std::size_t>(std::max(length, ssize_t{0}))});
    descriptors_.push_back(
        {number, inode ? kDescriptorIsSocket : kDescriptorIsOther, inode.value_or(0)});
  };
  if (const int error = forEachNumberedEntry(directory.get(), entries_, add); error != 0) {
    return processError(error);
  }
  if (!std::is_sorted(descriptors_.begin(), descriptors_.end(),
                      [](const auto& a, const auto& b) { return a.number < b.number; })) {
    std::sort(descriptors_.begin(), descriptors_.end(),
              [](const auto& a, const auto& b) { return a.number < b.number; });
  }
  process_ = pid;
  return 0;
}

ProcAnswer LinuxProcessInformation::proc_pidinfo(pid_t pid, proc_taskallinfo& information) {
  if (const int error = readDescriptors(pid); error != 0) return failed(error);
  information.openFiles = static_cast<std::uint32_t>(descriptors_.size());
  return {kProcTaskAllInfoSize, 0};
}

ProcAnswer LinuxProcessInformation::proc_pidinfo(pid_t pid, std::span<proc_fdinfo> descriptors) {
  if (pid != process_ || listed_) {
    if (const int error = readDescriptors(pid); error != 0) return failed(error);
  }
  listed_ = true;
  const std::size_t count = std::min(descriptors_.size(), descriptors.size());
  for (std::size_t i = 0; i < count; ++i) {
    descriptors[i] = {descriptors_[i].number, descriptors_[i].type};
  }
  return {static_cast<int>(count * sizeof(proc_fdinfo)), 0};
}

ProcAnswer LinuxProcessInformation::proc_pidfdinfo(pid_t pid, std::int32_t descriptor,
                                                   socket_fdinfo& socket) {
  if (pid != process_) {
    if (const int error = readDescriptors(pid); error != 0) return failed(error);
  }
  const auto open =
      std::lower_bound(descriptors_.begin(), descriptors_.end(), descriptor,
                       [](const auto& a, std::int32_t number) { return a.number < number; });
  if (open == descriptors_.end() || open->number != descriptor) return failed(EBADF);
  if (open->type != kDescriptorIsSocket) return failed(ENOTSOCK);
  if (socketsStale_) {
    sockets_.take();
    socketsStale_ = false;
  }
  const socket_fdinfo* const found = sockets_.find(open->inode);
  socket = found != nullptr ? *found : socket_fdinfo{};
  return {kSocketFdInfoSize, 0};
}

ProcAnswer LinuxProcessInformation::proc_name(pid_t pid, std::span<char> name) {
  if (pid <= 0) return failed(kNoSuchProcess);
  const auto found = readProcessName(proc_.get(), pid);
  return found ? answerText(*found, name) : failed(processError(errno));
}

ProcAnswer LinuxProcessInformation::proc_pidpath(pid_t pid, std::span<char> path) {
  if (pid <= 0) return failed(kNoSuchProcess);
  char link[PATH_MAX];
  const ssize_t length = ::readlinkat(proc_.get(), ProcPath(pid, "exe").text(), link, sizeof link);
  if (length < 0 && errno == ENOENT) {  // a kernel thread has no executable either
    const bool lives = ::faccessat(proc_.get(), ProcPath(pid, "comm").text(), F_OK, 0) == 0;
    return failed(lives ? ENOENT : kNoSuchProcess);
  }
  if (length < 0) return failed(errno);
  std::string_view found(link, static_cast<std::size_t>(length));
  constexpr std::string_view kDeleted = " (deleted)";
  if (found.ends_with(kDeleted)) found.remove_suffix(kDeleted.size());
  return answerText(found, path);
}

}  // namespace zorva
