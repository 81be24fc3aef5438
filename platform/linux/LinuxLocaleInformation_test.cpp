#include "platform/linux/LinuxLocaleInformation.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sched.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <time.h>
#include <unistd.h>

#include "platform/linux/ChildForTest.h"
#include "platform/linux/ClockForTest.h"
#include "platform/linux/DirectoryForTest.h"
#include "platform/linux/LoopForTest.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kWinter = 1'768'478'400;  // 2026-01-15
constexpr std::int64_t kSummer = 1'784'116'800;  // 2026-07-15

class LinuxLocaleInformationTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"LC_ALL", "LANG", "TZ"}) {
      if (const char* value = getenv(name)) before_[name] = value;
      unsetenv(name);
    }
    fs::create_directories(root_ / "etc/default");
    fs::create_directories(root_ / "usr/share/zoneinfo/Europe");
    fs::create_directories(root_ / "usr/share/zoneinfo/Asia");
    for (const char* zone : {"Europe/Berlin", "Asia/Tokyo", "Asia/Kolkata"}) {
      fs::copy(std::string("/usr/share/zoneinfo/") + zone, root_ / "usr/share/zoneinfo" / zone);
    }
  }
  void TearDown() override {
    for (const char* name : {"LC_ALL", "LANG", "TZ"}) unsetenv(name);
    for (const auto& [name, value] : before_) setenv(name.c_str(), value.c_str(), 1);
    tzset();
  }

  void write(const std::string& path, const std::string& text) {
    std::ofstream(root_ / path) << text;
  }
  // As administration tools do it: written aside and renamed.
  void replace(const std::string& path, const std::string& text) {
    write(path + ".new", text);
    fs::rename(root_ / (path + ".new"), root_ / path);
  }
  void link(const std::string& path, const std::string& target) {
    fs::create_symlink(target, root_ / (path + ".new"));
    fs::rename(root_ / (path + ".new"), root_ / path);
  }

  LoopForTest loop_;
  ClockForTest clock_;
  DirectoryForTest directory_;
  fs::path root_ = directory_ / "root";
  LocalePaths paths_{root_ / "etc/locale.conf", root_ / "etc/default/locale",
                     root_ / "etc/localtime", root_ / "etc/timezone", root_ / "usr/share/zoneinfo"};
  std::map<std::string, std::string> before_;
};

TEST_F(LinuxLocaleInformationTest, ChoosesTheLocale) {
  EXPECT_EQ(readLocaleIdentifier(paths_), "en_US_POSIX");
  setenv("LANG", "it_IT.UTF-8", 1);
  EXPECT_EQ(readLocaleIdentifier(paths_), "it_IT");
  write("etc/default/locale", "LANG=\"fr_FR.UTF-8\"\n");
  EXPECT_EQ(readLocaleIdentifier(paths_), "fr_FR");
  write("etc/locale.conf", "# LANG=xx\nLC_TIME=en_DK.UTF-8\n  LANG='de_AT@euro' \nLANGUAGE=de\n");
  EXPECT_EQ(readLocaleIdentifier(paths_), "de_AT");
  write("etc/locale.conf", "LC_ALL=C.UTF-8\nLANG=de_DE\n");
  EXPECT_EQ(readLocaleIdentifier(paths_), "en_US_POSIX");
  setenv("LC_ALL", "sv_SE", 1);
  EXPECT_EQ(readLocaleIdentifier(paths_), "sv_SE");
  // What can't be an identifier is passed over.
  setenv("LC_ALL", "en/../US", 1);
  write("etc/locale.conf", "LANG=" + std::string(10'000, 'a') + "\nLC_ALL\n=\nLANG");
  EXPECT_EQ(readLocaleIdentifier(paths_), "fr_FR");

  const std::pair<const char*, std::optional<std::string>> countries[] = {
      {"en_US", "US"},      {"en_US_POSIX", "US"},     {"zh_Hant_TW", "TW"}, {"es_419", "419"},
      {"eo", std::nullopt}, {"sr_Latn", std::nullopt}, {"", std::nullopt},   {"pt-BR", "BR"}};
  for (const auto& [identifier, country] : countries) {
    EXPECT_EQ(localeCountry(identifier), country) << identifier;
  }
}

TEST_F(LinuxLocaleInformationTest, ChoosesTheTimeZone) {
  EXPECT_EQ(readTimeZone(paths_), "UTC");
  write("etc/timezone", "Asia/Tokyo\n");
  EXPECT_EQ(readTimeZone(paths_), "Asia/Tokyo");
  write("etc/timezone", "../../etc/passwd\n");
  EXPECT_EQ(readTimeZone(paths_), "UTC");

  link("etc/localtime", "/usr/share/zoneinfo/Europe/Berlin");
  EXPECT_EQ(readTimeZone(paths_), "Europe/Berlin");
  link("etc/localtime", "../usr/share/zoneinfo/posix/America/Argentina/Buenos_Aires");
  EXPECT_EQ(readTimeZone(paths_), "America/Argentina/Buenos_Aires");
  fs::create_directories(root_ / "etc/writable");
  link("etc/writable/localtime", "/usr/share/zoneinfo/Asia/Kolkata");
  link("etc/localtime", "writable/localtime");
  EXPECT_EQ(readTimeZone(paths_), "Asia/Kolkata");

  const std::pair<const char*, const char*> settings[] = {
      {":Europe/Berlin", "Europe/Berlin"},
      {"Asia/Tokyo", "Asia/Tokyo"},
      {"", "UTC"},
      {":/usr/share/zoneinfo/Asia/Tokyo", "Asia/Tokyo"},
      // A rule, and zones that do not exist, leave the system's.
      {"CET-1CEST,M3.5.0,M10.5.0/3", "Asia/Kolkata"},
      {"Mars/Olympus", "Asia/Kolkata"},
      {"Europe", "Asia/Kolkata"}};
  for (const auto& [setting, zone] : settings) {
    setenv("TZ", setting, 1);
    EXPECT_EQ(readTimeZone(paths_), zone) << setting;
  }
  unsetenv("TZ");
  link("etc/localtime", "localtime");  // a loop
  EXPECT_EQ(readTimeZone(paths_), "UTC");
}

TEST_F(LinuxLocaleInformationTest, TellsOfRealChangesOnly) {
  LinuxLocaleInformation locale(loop_.event(), clock_, paths_);
  int locales = 0, zones = 0;
  using Change = LocaleInformation::Change;
  Registration localeChanges = locale.observe(Change::Locale, [&] { ++locales; });
  const Registration zoneChanges = locale.observe(Change::TimeZone, [&] { ++zones; });
  const auto expect = [&](const char* identifier, const char* zone, int localeCount,
                          int zoneCount) {
    SCOPED_TRACE(std::string(identifier) + ", " + zone);
    loop_.drain();
    EXPECT_EQ(locale.settings(), (LinuxLocaleInformation::Settings{identifier, zone}));
    EXPECT_EQ(locales, localeCount);
    EXPECT_EQ(zones, zoneCount);
  };
  expect("en_US_POSIX", "UTC", 0, 0);
  write("etc/locale.conf", "LANG=de_DE.UTF-8\n");
  expect("de_DE", "UTC", 1, 0);
  replace("etc/locale.conf", "# the same\nLANG=de_DE\n");
  write("etc/hostname", "zorva\n");
  expect("de_DE", "UTC", 1, 0);
  replace("etc/locale.conf", "LANG=de_CH\n");
  link("etc/localtime", (root_ / "usr/share/zoneinfo/Europe/Berlin").string());
  expect("de_CH", "Europe/Berlin", 2, 1);

  // A snapshot is right at once, and does not swallow the news.
  fs::remove(root_ / "etc/locale.conf");
  EXPECT_EQ(locale.identifier(), "en_US_POSIX");
  expect("en_US_POSIX", "Europe/Berlin", 3, 1);

  // The link may stand elsewhere.
  fs::create_directories(root_ / "etc/writable");
  link("etc/writable/localtime", (root_ / "usr/share/zoneinfo/Europe/Berlin").string());
  link("etc/localtime", "writable/localtime");
  expect("en_US_POSIX", "Europe/Berlin", 3, 1);
  link("etc/writable/localtime", (root_ / "usr/share/zoneinfo/Asia/Tokyo").string());
  expect("en_US_POSIX", "Asia/Tokyo", 3, 2);
  // A copy instead of a link has no name, but another copy is another zone.
  fs::remove(root_ / "etc/localtime");
  fs::copy_file(root_ / "usr/share/zoneinfo/Asia/Tokyo", root_ / "etc/localtime");
  expect("en_US_POSIX", "UTC", 3, 3);
  fs::copy_file(root_ / "usr/share/zoneinfo/Asia/Kolkata", root_ / "etc/other");
  fs::rename(root_ / "etc/other", root_ / "etc/localtime");
  expect("en_US_POSIX", "UTC", 3, 4);

  // A setting of the environment's own does not follow the files.
  setenv("TZ", "Asia/Kolkata", 1);
  replace("etc/timezone", "Europe/Berlin\n");
  expect("en_US_POSIX", "Asia/Kolkata", 3, 5);
  link("etc/localtime", (root_ / "usr/share/zoneinfo/Europe/Berlin").string());
  localeChanges.reset();
  replace("etc/locale.conf", "LANG=fi_FI\n");
  expect("fi_FI", "Asia/Kolkata", 3, 5);
}

TEST_F(LinuxLocaleInformationTest, AsksTheCLibraryForThePresentTime) {
  LinuxLocaleInformation locale(loop_.event(), clock_, paths_);
  setenv("TZ", "Europe/Berlin", 1);
  clock_.seconds = kWinter;
  EXPECT_EQ(locale.timeZoneAbbreviation(), "CET");
  EXPECT_FALSE(locale.daylightSavingTime());
  clock_.seconds = kSummer;
  EXPECT_EQ(locale.timeZoneAbbreviation(), "CEST");
  EXPECT_TRUE(locale.daylightSavingTime());
}

// The C library reads the zone's file from one place only, so the test gets a /etc of its own.
TEST_F(LinuxLocaleInformationTest, FollowsTheSystemsZoneFile) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may mount";
  inChildForTest([&] {
    ASSERT_EQ(unshare(CLONE_NEWNS), 0);
    ASSERT_EQ(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    ASSERT_EQ(mount((root_ / "etc").c_str(), "/etc", nullptr, MS_BIND, nullptr), 0);
    root_ = "/";
    const LoopForTest loop;  // a loop does not work in another process than its own
    link("etc/localtime", "../usr/share/zoneinfo/Asia/Tokyo");
    LinuxLocaleInformation locale(loop.event(), clock_);
    int zones = 0;
    const Registration changes =
        locale.observe(LocaleInformation::Change::TimeZone, [&] { ++zones; });
    EXPECT_EQ(locale.timeZoneAbbreviation(), "JST");
    link("etc/localtime", "../usr/share/zoneinfo/Asia/Kolkata");
    loop.drain();
    EXPECT_EQ(zones, 1);
    EXPECT_EQ(locale.timeZoneAbbreviation(), "IST");
    EXPECT_EQ(locale.settings().zone, "Asia/Kolkata");
  });
}

// There is no clock to set but the machine's, so this runs only when asked for: it sets it forward
// by a fiftieth of a second, and back.
TEST_F(LinuxLocaleInformationTest, TellsWhenTheClockIsSet) {
  if (!getenv("ZORVA_TEST_SET_CLOCK")) {
    GTEST_SKIP() << "would set the machine's clock; ZORVA_TEST_SET_CLOCK=1 allows it";
  }
  const auto step = [](long nanoseconds) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    now.tv_nsec += nanoseconds;
    now.tv_sec += now.tv_nsec >= 1'000'000'000 ? 1 : now.tv_nsec < 0 ? -1 : 0;
    now.tv_nsec = (now.tv_nsec + 1'000'000'000) % 1'000'000'000;
    return clock_settime(CLOCK_REALTIME, &now);
  };
  LinuxLocaleInformation locale(loop_.event(), clock_, paths_);
  int sets = 0;
  const Registration changes = locale.observe(LocaleInformation::Change::ClockSet, [&] { ++sets; });
  ASSERT_TRUE(changes);
  ASSERT_EQ(step(20'000'000), 0);
  loop_.runUntil([&] { return sets == 1; });
  ASSERT_EQ(step(-20'000'000), 0);
  loop_.runUntil([&] { return sets == 2; });
  // What the kernel reports without a change of the clock does not count, as after suspend.
  ASSERT_EQ(step(10'000), 0);
  loop_.drain();
  EXPECT_EQ(sets, 2);
}

}  // namespace
}  // namespace zorva
