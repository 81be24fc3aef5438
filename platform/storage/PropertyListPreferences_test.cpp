// SPDX-License-Identifier: Apache-2.0
#include "platform/storage/PropertyListPreferences.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <vector>

#include "platform/storage/PosixFileSystem.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kMobile = 501;

class PropertyListPreferencesTest : public testing::Test {
 protected:
  struct Accounts : AccountDatabase {
    std::optional<Ids> idsOfUser(const std::string&) override { return std::nullopt; }
    std::optional<std::string> nameOfUser(uid_t) override { return std::nullopt; }
  };
  struct Log : SystemLog {
    std::vector<std::string> lines;
    void write(std::string_view message) override { lines.emplace_back(message); }
  };

  // The file holds one key of somebody else.
  void place(const std::string& text = "<plist><dict><key>theirs</key><color/></dict></plist>") {
    root_.write(name_, text);
  }
  bool write(double value = 60.0) {
    store_.setValue(scope_, "seconds", value);
    return store_.synchronize(scope_);
  }
  // With a disk that is full after so few bytes.
  bool writeOnFullDisk(double value) {
    const rlimit limit{16, RLIM_INFINITY};
    rlimit before;
    const auto handler = ::signal(SIGXFSZ, SIG_IGN);
    EXPECT_EQ(::prlimit(0, RLIMIT_FSIZE, &limit, &before), 0);
    const bool written = write(value);
    ::setrlimit(RLIMIT_FSIZE, &before);
    ::signal(SIGXFSZ, handler);
    return written;
  }
  Value read() { return store_.value(scope_, "seconds"); }
  Value readByOther() {
    return PropertyListPreferences(files_, accounts_, log_).value(scope_, "seconds");
  }
  static std::string contents(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  auto fileCount() {
    return std::distance(fs::directory_iterator(directory_), fs::directory_iterator());
  }

  const PreferencesStore::Scope scope_{"com.vennor.zorva", "mobile"};
  DirectoryForTest root_;
  const std::string name_ = "var/mobile/Library/Preferences/com.vennor.zorva.plist";
  const std::string path_ = root_ / name_;
  const std::string directory_ = fs::path(path_).parent_path();
  PosixFileSystem files_{root_ / ""};
  Accounts accounts_;
  Log log_;
  PropertyListPreferences store_{files_, accounts_, log_};
};

TEST_F(PropertyListPreferencesTest, IsNotTrickedByPipeLinkOrSecondName) {
  const std::string secret = root_ / "secret";
  const std::string secretText = "<plist><dict><key>seconds</key><real>1</real></dict></plist>";
  root_.write("secret", secretText);
  fs::create_directories(directory_);
  const auto symlink = [&] {
    fs::create_symlink(secret, path_);
    (void)!::lchown(path_.c_str(), kMobile, kMobile);
  };
  const std::function<void()> plants[] = {[&] { ::mkfifo(path_.c_str(), 0600); },
                                          [&] { fs::create_hard_link(secret, path_); }, symlink};
  for (const auto& plant : plants) {
    if (&plant == &plants[2] && ::geteuid() != 0) GTEST_SKIP() << "only root plants others' links";
    fs::remove(path_);
    plant();
    EXPECT_TRUE(read().isNothing()) << "what is in the secret must not come out";
    ASSERT_TRUE(write());
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path_)));
    EXPECT_EQ(contents(secret), secretText);
  }
  EXPECT_EQ(fileCount(), 1 + std::ssize(plants)) << "all kept aside";
  ASSERT_EQ(log_.lines.size(), std::size(plants));
  EXPECT_EQ(log_.lines[0], "The preferences in '/" + name_ + "' cannot be read; kept as '/" +
                               name_ + ".damaged-1'");
}

TEST_F(PropertyListPreferencesTest, FullDiskLeavesOldFileWhole) {
  place();
  root_.write("var/mobile/Library/Preferences/.com.vennor.zorva.plist.new-999999999-0", "litter");
  const std::string old = contents(path_);
  EXPECT_FALSE(writeOnFullDisk(60.0));
  EXPECT_EQ(contents(path_), old);
  EXPECT_EQ(fileCount(), 1);
  EXPECT_EQ(read(), Value(60.0)) << "stays set";
  EXPECT_TRUE(store_.synchronize(scope_)) << "until the next try";

  // What could not be written gives way to what has come into the file since.
  EXPECT_FALSE(writeOnFullDisk(61.0));
  EXPECT_EQ(read(), Value(60.0));
  EXPECT_TRUE(store_.synchronize(scope_));
  EXPECT_EQ(readByOther(), Value(60.0));
  EXPECT_NE(contents(path_).find("<color />"), std::string::npos) << "a foreign key";
}

}  // namespace
}  // namespace zorva
