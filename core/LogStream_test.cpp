#include "core/LogStream.h"

#include <csignal>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace zorva {
namespace {

TEST(LogStream, LosesOnlyWhatCannotBeWritten) {
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

}  // namespace
}  // namespace zorva
