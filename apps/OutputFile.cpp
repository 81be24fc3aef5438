// SPDX-License-Identifier: Apache-2.0
#include "apps/OutputFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "apps/ProcessSetUp.h"
#include "platform/base/RenameToNew.h"

namespace zorva {
namespace {

// The unfinished file's name, for the handler of terminating signals.
std::array<char, 4096> unfinished{};

void removeUnfinished(int signal) {
  if (unfinished[0] != '\0') ::unlink(unfinished.data());
  ::raise(signal);  // its handler is the default one again
}

void announceUnfinished(const std::string& path) {
  unfinished[0] = '\0';
  if (path.empty() || path.size() >= unfinished.size()) return;
  std::copy(path.begin() + 1, path.end() + 1, unfinished.begin() + 1);
  unfinished[0] = path[0];
  struct sigaction action {};
  action.sa_handler = removeUnfinished;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before;
    // A signal that the parent process has set to be ignored stays ignored.
    if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
      ::sigaction(signal, &action, nullptr);
    }
  }
}

std::string takenProblem(const std::string& path) {
  return path + ": exists already; choose another name, or use --force to replace it";
}

}  // namespace

OutputFile OutputFile::standardOutput() {
  OutputFile output;
  output.name_ = "standard output";
  output.descriptor_ = STDOUT_FILENO;
  return output;
}

std::optional<OutputFile> OutputFile::make(const std::string& path, bool replace,
                                           std::string& problem) {
  OutputFile output;
  output.name_ = path;
  output.replace_ = replace;
  struct stat status;
  if (::stat(path.c_str(), &status) == 0) {
    if (!replace) {
      problem = takenProblem(path);
      return std::nullopt;
    }
    if (!S_ISREG(status.st_mode)) {
      problem = path + ": is not a regular file; without -o the output goes to standard output";
      return std::nullopt;
    }
  }
  std::string temporary = path + ".unfinished-XXXXXX";
  output.descriptor_ = ::mkostemp(temporary.data(), O_CLOEXEC);
  if (output.descriptor_ < 0) {
    problem = path + ": cannot be written: " + std::strerror(errno);
    return std::nullopt;
  }
  output.temporary_ = temporary;
  announceUnfinished(temporary);
  // mkostemp() creates with mode 0600; use the mode of an ordinary new file.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::fchmod(output.descriptor_, 0666 & ~mask);
  return output;
}

OutputFile::~OutputFile() {
  close();
  if (temporary_.empty()) return;
  ::unlink(temporary_.c_str());
  announceUnfinished({});
}

void OutputFile::close() {
  if (descriptor_ > STDERR_FILENO) ::close(descriptor_);
  descriptor_ = -1;
}

bool OutputFile::fail(const std::string& what, int error) {
  problem_ = name_ + ": " + what + ": " + std::strerror(error);
  return false;
}

bool OutputFile::flush() {
  std::string_view rest = pending_;
  while (!rest.empty()) {
    const ssize_t count = ::write(descriptor_, rest.data(), rest.size());
    if (count < 0 && errno == EINTR) continue;
    // The reader of standard output has had enough, such as head.
    if (count < 0 && errno == EPIPE && descriptor_ == STDOUT_FILENO) endByBrokenPipe();
    if (count <= 0) return fail("cannot be written", count < 0 ? errno : EIO);
    rest.remove_prefix(static_cast<std::size_t>(count));
  }
  pending_.clear();
  return true;
}

bool OutputFile::finish() {
  if (!flush()) return false;
  if (temporary_.empty()) return true;
  if (::fsync(descriptor_) != 0) return fail("cannot be written", errno);
  close();
  const int renamed = replace_ ? std::rename(temporary_.c_str(), name_.c_str())
                               : renameToNew(AT_FDCWD, temporary_.c_str(), AT_FDCWD, name_.c_str());
  int error = renamed == 0 ? 0 : errno;
  // Some file systems cannot keep a name that is taken.
  if (error == EINVAL && ::access(name_.c_str(), F_OK) != 0) {
    error = std::rename(temporary_.c_str(), name_.c_str()) == 0 ? 0 : errno;
  }
  if (error == EEXIST) {
    problem_ = takenProblem(name_);
    return false;
  }
  if (error != 0) return fail("cannot be renamed to its name", error);
  temporary_.clear();
  announceUnfinished({});
  return true;
}

CommandOption outputOption(std::optional<std::string>& to) {
  return {"output", 'o', "the name of a file", [&to](const std::string& name) {
            if (to) return std::string("more than one output is given.");
            to = name;
            return std::string();
          }};
}

}  // namespace zorva
