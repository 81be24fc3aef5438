// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace zorva {

/// A child process of a test. It is killed when the test ends or this object is destroyed.
class ChildForTest {
 public:
  /// Exits with the status that the work returns.
  explicit ChildForTest(const std::function<int()>& work) : process_(fork()) {
    if (process_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    _exit(work());
  }
  ChildForTest(ChildForTest&&) = delete;  // not copyable
  ~ChildForTest() {
    if (process_ <= 0) return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  pid_t pid() const { return process_; }
  /// Waits for its end. Returns its exit status, or -1.
  int status() {
    int status = -1;
    waitpid(std::exchange(process_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t process_;
};

}  // namespace zorva
