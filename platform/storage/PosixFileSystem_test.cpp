// SPDX-License-Identifier: Apache-2.0
#include "platform/storage/PosixFileSystem.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>

#include "platform/base/Descriptor.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

TEST(PosixFileSystem, NoticesARecreatedDirectory) {
  const DirectoryForTest root;
  const std::string logs = root / "Library/Logs/Faultbox";
  root.write("Library/Logs/Faultbox/log", "begun");
  PosixFileSystem files(root / "");
  const Descriptor directory(files.openForEvents("/Library/Logs/Faultbox"));
  const Descriptor queue(files.makeEventQueue());
  ASSERT_TRUE(files.watchDirectory(queue.get(), directory.get()));
  // Whether there was an event since the last call.
  const auto happened = [&] {
    pollfd readable{queue.get(), POLLIN, 0};
    const bool ready = ::poll(&readable, 1, 0) == 1;
    files.takeEvents(queue.get());
    EXPECT_EQ(::poll(&readable, 1, 0), 0) << "taking the events leaves the queue empty";
    return ready;
  };

  fs::remove_all(root / "Library");
  EXPECT_TRUE(happened());
  EXPECT_FALSE(happened());
  fs::create_directories(root / "Library/Logs");
  EXPECT_TRUE(happened());
  fs::create_directory(logs);
  EXPECT_TRUE(happened());
  root.write("Library/Logs/Faultbox/log", "begun");
  EXPECT_TRUE(happened());
}

}  // namespace
}  // namespace zorva
