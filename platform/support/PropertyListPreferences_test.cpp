#include "platform/support/PropertyListPreferences.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <vector>

#include "platform/support/PosixFileSystem.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kMobile = 501;

class PropertyListPreferencesTest : public testing::Test {
 protected:
  struct Accounts : AccountDatabase {
    std::optional<Ids> ids;
    std::optional<Ids> idsOfUser(const std::string& name) override {
      return name == "mobile" ? ids : std::nullopt;
    }
    std::optional<std::string> nameOfUser(uid_t) override { return std::nullopt; }
  };
  struct Log : SystemLog {
    std::vector<std::string> lines;
    void write(std::string_view message) override { lines.emplace_back(message); }
  };

  void SetUp() override {
    std::string name = fs::temp_directory_path() / "zorva-preferences-XXXXXX";
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    root_ = name;
    files_.emplace(root_);
    store_.emplace(*files_, accounts_, log_);
    directory_ = root_ + "/var/mobile/Library/Preferences";
    path_ = directory_ + "/com.vennor.zorva.plist";
  }
  void TearDown() override { fs::remove_all(root_); }

  // The file holds one key of somebody else.
  void place(const std::string& text = "<plist><dict><key>theirs</key><color/></dict></plist>") {
    fs::create_directories(directory_);
    std::ofstream(path_) << text;
  }
  bool write(double value = 60.0) {
    store_->setValue(scope_, "seconds", value);
    return store_->synchronize(scope_);
  }
  Value read() { return store_->value(scope_, "seconds"); }
  Value readByOther() {
    return PropertyListPreferences(*files_, accounts_, log_).value(scope_, "seconds");
  }
  static std::string contents(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::vector<std::string> names() {
    std::vector<std::string> all;
    for (const auto& entry : fs::directory_iterator(directory_)) {
      all.push_back(entry.path().filename());
    }
    std::sort(all.begin(), all.end());
    return all;
  }
  const std::vector<std::string> kOnlyFile{"com.vennor.zorva.plist"};
  const std::vector<std::string> kFileAndDamaged{"com.vennor.zorva.plist",
                                                 "com.vennor.zorva.plist.damaged-1"};

  const PreferencesStore::Scope scope_{"com.vennor.zorva", "mobile"};
  std::string root_, directory_, path_;
  std::optional<PosixFileSystem> files_;
  Accounts accounts_;
  Log log_;
  std::optional<PropertyListPreferences> store_;
};

TEST_F(PropertyListPreferencesTest, KeepsForeignKeysAndSweepsLitter) {
  place();
  std::ofstream(directory_ + "/.com.vennor.zorva.plist.new-999999999-0") << "litter";
  ASSERT_TRUE(write());
  EXPECT_NE(contents(path_).find("<color />"), std::string::npos);
  EXPECT_EQ(names(), kOnlyFile);
}

TEST_F(PropertyListPreferencesTest, KeepsDamagedFileAside) {
  const std::string damages[] = {"", "bplist00", "<plist><dict><key>a",
                                 std::string(1 << 20, ' ') + " "};
  for (const std::string& damage : damages) {
    place(damage);
    EXPECT_TRUE(read().isNothing());
    ASSERT_TRUE(write());
    EXPECT_EQ(readByOther(), Value(60.0));
    EXPECT_EQ(names(), kFileAndDamaged);
    EXPECT_EQ(contents(path_ + ".damaged-1"), damage);
    EXPECT_EQ(log_.lines,
              std::vector<std::string>{"The preferences in '" + path_ +
                                       "' cannot be read; kept as '" + path_ + ".damaged-1'"});
    log_.lines.clear();
    fs::remove(path_ + ".damaged-1");
  }
  place("one");
  ASSERT_TRUE(write());
  place("two");
  ASSERT_TRUE(write());
  EXPECT_EQ(contents(path_ + ".damaged-1") + contents(path_ + ".damaged-2"), "onetwo");
}

TEST_F(PropertyListPreferencesTest, IsNotTrickedByPipeLinkOrSecondName) {
  const std::string secret = root_ + "/secret";
  const std::string secretText =
      "<plist><dict><key>seconds</key><integer>1</integer></dict></plist>";
  std::ofstream(secret) << secretText;
  fs::create_directories(directory_);
  ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
  EXPECT_TRUE(read().isNothing());
  ASSERT_TRUE(write());
  EXPECT_EQ(names(), kFileAndDamaged);

  fs::remove(path_);
  fs::create_hard_link(secret, path_);
  EXPECT_TRUE(read().isNothing()) << "what is in the secret must not come out";
  ASSERT_TRUE(write());
  EXPECT_EQ(contents(secret), secretText);

  if (::geteuid() != 0) GTEST_SKIP() << "only root can plant another user's link";
  fs::remove(path_);
  fs::create_symlink(secret, path_);
  ASSERT_EQ(::lchown(path_.c_str(), kMobile, kMobile), 0);
  EXPECT_TRUE(read().isNothing());
  ASSERT_TRUE(write());
  EXPECT_EQ(contents(secret), secretText);
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path_)));

  fs::create_directories(root_ + "/elsewhere");
  fs::remove_all(directory_);
  fs::create_symlink(root_ + "/elsewhere", directory_);
  EXPECT_TRUE(write()) << "root's own link is followed";
  EXPECT_TRUE(fs::exists(root_ + "/elsewhere/com.vennor.zorva.plist"));
  EXPECT_EQ(read(), Value(60.0));
  ASSERT_EQ(::lchown(directory_.c_str(), kMobile, kMobile), 0);
  EXPECT_FALSE(write(61.0));
  EXPECT_TRUE(readByOther().isNothing());
  EXPECT_EQ(contents(root_ + "/elsewhere/com.vennor.zorva.plist").find("61"), std::string::npos);
}

TEST_F(PropertyListPreferencesTest, FullDiskLeavesOldFileWhole) {
  place();
  const std::string old = contents(path_);
  const rlimit limit{16, RLIM_INFINITY};
  rlimit before;
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = ::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  const bool written = write();
  ::setrlimit(RLIMIT_FSIZE, &before);
  ::signal(SIGXFSZ, handler);
  EXPECT_FALSE(written);
  EXPECT_EQ(contents(path_), old);
  EXPECT_EQ(names(), kOnlyFile);
  EXPECT_EQ(read(), Value(60.0)) << "stays set";
  EXPECT_TRUE(store_->synchronize(scope_)) << "until the next try";
  EXPECT_EQ(readByOther(), Value(60.0));
}

}  // namespace
}  // namespace zorva
