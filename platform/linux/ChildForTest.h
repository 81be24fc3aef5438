#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zorva {

/// Runs the body in a process of its own, so that it may change its file system root, its network
/// or its environment. What it expects counts for the test that calls this.
inline void inChildForTest(const std::function<void()>& body) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    body();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "in the child: " << status;
}

}  // namespace zorva
