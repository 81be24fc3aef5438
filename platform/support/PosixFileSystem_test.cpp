#include "platform/support/PosixFileSystem.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>

#include "platform/support/Descriptor.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

class PosixFileSystemTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = fs::temp_directory_path() / "zorva-files-XXXXXX";
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    root_ = name;
    logs_ = root_ + "/Library/Logs/Faultbox";
    fs::create_directories(logs_);
    std::ofstream(logs_ + "/log") << "begun";
    files_.emplace(root_ + "/");
    directory_ = Descriptor(files_->openForEvents("/Library/Logs/Faultbox"));
    queue_ = Descriptor(files_->makeEventQueue());
    ASSERT_TRUE(files_->watchDirectory(queue_.get(), directory_.get()));
  }
  void TearDown() override { fs::remove_all(root_); }

  // Whether something has happened since the last time.
  bool happened() {
    pollfd readable{queue_.get(), POLLIN, 0};
    const bool ready = ::poll(&readable, 1, 0) == 1;
    files_->takeEvents(queue_.get());
    EXPECT_EQ(::poll(&readable, 1, 0), 0) << "taking the events leaves the queue empty";
    return ready;
  }

  std::string root_, logs_;
  std::optional<PosixFileSystem> files_;
  Descriptor directory_, queue_;
};

TEST_F(PosixFileSystemTest, NoticesDirectoryMadeAnew) {
  fs::remove_all(root_ + "/Library");
  EXPECT_TRUE(happened());
  EXPECT_FALSE(happened());
  fs::create_directories(root_ + "/Library/Logs");
  EXPECT_TRUE(happened());
  fs::create_directory(logs_);
  EXPECT_TRUE(happened());
  std::ofstream(logs_ + "/log") << "begun";
  EXPECT_TRUE(happened());

  fs::rename(logs_, root_ + "/moved");
  EXPECT_TRUE(happened());
  std::ofstream(root_ + "/moved/other") << "of no concern";
  EXPECT_FALSE(happened());
  fs::rename(root_ + "/moved", logs_);
  EXPECT_TRUE(happened());
  fs::remove(logs_ + "/other");
  EXPECT_TRUE(happened());
}

}  // namespace
}  // namespace zorva
