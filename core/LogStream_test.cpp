// SPDX-License-Identifier: Apache-2.0
#include "core/LogStream.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zorva {
namespace {

TEST(LogStream, LosesOnlyTextThatCannotBeWritten) {
  char name[] = "/tmp/zorva-stream-XXXXXX";
  const int file = ::mkstemp(name);
  ASSERT_GE(file, 0);
  ::unlink(name);
  const auto old = std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  LogStream stream(file, LogStream::Ownership::Owned);
  const std::pair<rlim_t, const char*> kLinesAndRoom[] = {{before.rlim_cur, "one\n"},
                                                          {6, "two is cut\n"},
                                                          {6, "three is lost\n"},
                                                          {before.rlim_cur, "four\n"}};
  for (const auto& [bytes, line] : kLinesAndRoom) {
    const rlimit limit{bytes, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    stream.write(line);
    stream.flush();
    ::setrlimit(RLIMIT_FSIZE, &before);
  }
  char text[64] = {};
  EXPECT_GT(::pread(file, text, sizeof text - 1, 0), 0);
  EXPECT_STREQ(text, "one\ntw\nfour\n");
  std::signal(SIGXFSZ, old);
}

TEST(LogStream, WaitsForTheReaderOfANonBlockingPipe) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ASSERT_EQ(::fcntl(ends[1], F_SETFL, O_NONBLOCK), 0);
  const std::string text(4 << 20, 'x');  // many times the capacity of a pipe
  const pid_t writer = ::fork();
  if (writer == 0) {
    LogStream stream(ends[1], LogStream::Ownership::Borrowed);
    stream.write(text);
    stream.flush();
    ::_exit(0);
  }
  ::close(ends[1]);
  ::usleep(900'000);  // the pipe is full meanwhile
  std::string arrived(text.size(), '\0');
  std::size_t length = 0;
  while (const ssize_t count = ::read(ends[0], &arrived[length], text.size() - length)) {
    ASSERT_GT(count, 0);
    length += static_cast<std::size_t>(count);
  }
  EXPECT_EQ(length, text.size());
  ::close(ends[0]);
  rusage used{};
  ::wait4(writer, nullptr, 0, &used);
  EXPECT_EQ(used.ru_utime.tv_sec + used.ru_stime.tv_sec, 0);
  EXPECT_LT(used.ru_utime.tv_usec + used.ru_stime.tv_usec, 100'000) << "it does not spin";
}

}  // namespace
}  // namespace zorva
