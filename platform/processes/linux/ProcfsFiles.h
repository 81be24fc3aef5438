// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <span>
#include <string>
#include <sys/types.h>
#include <unistd.h>

#include "platform/base/Descriptor.h"
#include "platform/processes/SystemStatistics.h"

// Paths of the kernel's small files, and how to read them.
namespace zorva {

/// The failure of a system call.
inline KernelResult failure(int error) {
  return {error, std::strerror(error)};
}

/// The result of a call that returns 0 or an error number.
inline KernelResult resultOf(int error) {
  return error == 0 ? KernelResult{} : failure(error);
}

/// "PID/stat", or "PID/task/TID/stat": a path below the root of procfs.
class ProcPath {
 public:
  ProcPath(pid_t pid, const char* file) { append(pid).append("/").append(file); }
  ProcPath(pid_t pid, std::int32_t thread, const char* file) {
    append(pid).append("/task/").append(thread).append("/").append(file);
  }
  const char* text() const { return text_; }

 private:
  ProcPath& append(std::int32_t number) {
    end_ = std::to_chars(end_, text_ + sizeof text_ - 1, number).ptr;
    *end_ = '\0';
    return *this;
  }
  ProcPath& append(const char* piece) {
    while (*piece != '\0' && end_ < text_ + sizeof text_ - 1) *end_++ = *piece++;
    *end_ = '\0';
    return *this;
  }

  char text_[64];
  char* end_ = text_;
};

/// Reads until the buffer is full or the file ends. Returns the number of bytes, or -1 with errno.
inline ssize_t readFully(int file, std::span<char> buffer) {
  std::size_t length = 0;
  while (length < buffer.size()) {
    const ssize_t count = ::read(file, buffer.data() + length, buffer.size() - length);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return -1;
    if (count == 0) break;
    length += static_cast<std::size_t>(count);
  }
  return static_cast<ssize_t>(length);
}

/// The short name of a process or of a kernel thread, which has the longest names; nothing, with
/// errno, if it cannot be read. The directory is the root of procfs.
inline std::optional<std::string> readProcessName(int procfs, pid_t pid) {
  const Descriptor file(::openat(procfs, ProcPath(pid, "comm").text(), O_RDONLY | O_CLOEXEC));
  char text[128];
  const ssize_t length = file ? ::read(file.get(), text, sizeof text) : -1;
  if (length == 0) errno = ESRCH;  // even an empty name has a line end
  if (length <= 0) return std::nullopt;
  std::string name(text, static_cast<std::size_t>(length));
  if (name.ends_with('\n')) name.pop_back();
  return name;
}

inline int openDirectory(int directory, const char* path) {
  return ::openat(directory, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

}  // namespace zorva
