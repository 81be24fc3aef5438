// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace zorva {

/// A process that a test runs beside itself. It dies with the test, or with this.
class ChildForTest {
 public:
  /// Exits with what the work returns.
  explicit ChildForTest(const std::function<int()>& work) : process_(fork()) {
    if (process_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    _exit(work());
  }
  ChildForTest(ChildForTest&&) = delete;  // nor copied
  ~ChildForTest() {
    if (process_ <= 0) return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  pid_t pid() const { return process_; }
  void signal(int number) const { kill(process_, number); }
  /// Waits for its end, and answers its exit status, or -1.
  int status() {
    int status = -1;
    waitpid(std::exchange(process_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t process_;
};

/// Runs a case in a child, which may enter namespaces. A case that returns false is skipped.
inline void runInChild(const std::function<bool()>& test) {
  constexpr int kSkipped = 77;
  ChildForTest child([&] { return !test() ? kSkipped : testing::Test::HasFailure() ? 1 : 0; });
  const int status = child.status();
  if (status == kSkipped) GTEST_SKIP() << "no network namespace, or no such links, for this user";
  EXPECT_EQ(status, 0);
}

}  // namespace zorva
