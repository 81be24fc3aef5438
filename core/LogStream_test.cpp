#include "core/LogStream.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace zorva {
namespace {

TEST(LogStream, HandsOverWhatIsPendingInOneWrite) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_DIRECT | O_NONBLOCK), 0);  // keeps each write a packet of its own
  {
    LogStream stream(ends[1], LogStream::Ownership::Owned);
    stream.write("Zorva Version: 5\n");
    stream.write(std::string(3000, 'x'));
    stream.write("\n");
    stream.flush();
    stream.flush();
    char packet[4096];
    EXPECT_EQ(::read(ends[0], packet, sizeof packet), 17 + 3000 + 1);
    EXPECT_EQ(::read(ends[0], packet, sizeof packet), -1);
    stream.write("rest\n");
  }
  char packet[4096];
  EXPECT_EQ(::read(ends[0], packet, sizeof packet), 5) << "closing hands over the rest";
  EXPECT_EQ(::read(ends[0], packet, sizeof packet), 0) << "an owned descriptor is closed";
  ::close(ends[0]);
}

TEST(LogStream, LosesOnlyWhatCannotBeWritten) {
  char name[] = "/tmp/zorva-stream-XXXXXX";
  const int file = ::mkstemp(name);
  ASSERT_GE(file, 0);
  ::unlink(name);
  const auto old = std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  LogStream stream(file, LogStream::Ownership::Owned);
  const auto writeWithRoomFor = [&](rlim_t bytes, const char* line) {
    const rlimit limit{bytes, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    stream.write(line);
    stream.flush();
    ::setrlimit(RLIMIT_FSIZE, &before);
  };
  writeWithRoomFor(before.rlim_cur, "one\n");
  writeWithRoomFor(6, "two is cut\n");
  writeWithRoomFor(6, "three is lost\n");
  writeWithRoomFor(before.rlim_cur, "four\n");
  writeWithRoomFor(before.rlim_cur, "five\n");
  char text[64] = {};
  EXPECT_GT(::pread(file, text, sizeof text - 1, 0), 0);
  EXPECT_STREQ(text, "one\ntw\nfour\nfive\n");
  std::signal(SIGXFSZ, old);
}

}  // namespace
}  // namespace zorva
