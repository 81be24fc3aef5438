// SPDX-License-Identifier: Apache-2.0
// What the locale and the time zone promise, on the simulated handset and over the files of etc.

#include <filesystem>
#include <gtest/gtest.h>
#include <stdlib.h>

#include "platform/assemble/SimHandset.h"
#include "platform/locale/linux/LinuxLocaleInformation.h"
#include "platform/loop/linux/LinuxClock.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

struct SimWorld {
  SimHandset handset;
  SimClock& clock = handset.clock();
  LocaleInformation& locale = handset.locale();
  void setLocale(const std::string& name) { handset.locale().setIdentifier(name); }
  void setZone(const std::string& name) { handset.locale().setTimeZone(name); }
};
struct LinuxWorld {
  LinuxWorld() { clearEnvironment(); }
  ~LinuxWorld() { clearEnvironment(); }
  static void clearEnvironment() {
    for (const char* name : {"LC_ALL", "LANG", "TZ"}) unsetenv(name);
  }
  LoopForTest loop;
  DirectoryForTest root;
  SimClock clock{SimHandset::kStart};
  LinuxLocaleInformation locale{
      loop.event(), clock,
      LocalePaths{root / "locale.conf", root / "default", root / "localtime", root / "timezone"}};
  void setLocale(const std::string& name) {
    root.write("locale.conf", "LANG=" + name + ".UTF-8\n");
    loop.drain();
  }
  // The C library does not read this root's files.
  void setZone(const std::string& name) {
    setenv("TZ", name.c_str(), 1);
    root.write("timezone", name + "\n");
    loop.drain();
  }
};

template <typename World>
class LocaleContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(LocaleContract, Worlds);

TYPED_TEST(LocaleContract, AnswersAreAsOfNowAndChangesReportedAfterThem) {
  using Change = LocaleInformation::Change;
  TypeParam world;
  LocaleInformation& locale = world.locale;
  std::string seen;
  Registration locales = locale.observe(Change::Locale, [&] { seen += locale.identifier() + " "; });
  Registration own = locale.observe(Change::Locale, [&] {
    seen += "once ";
    own.reset();
  });
  const Registration zones =
      locale.observe(Change::TimeZone, [&] { seen += locale.timeZoneAbbreviation() + " "; });
  world.setLocale("de_DE");
  EXPECT_EQ(locale.countryCode(), "DE");
  world.setLocale("zh_Hans_CN");
  EXPECT_EQ(locale.countryCode(), "CN");
  world.setZone("Europe/Berlin");
  EXPECT_FALSE(locale.daylightSavingTime());
  locales.reset();
  for (const auto& [name, country] :
       {std::pair("sr_Latn", "none"), {"pt-BR", "BR"}, {"en_US_POSIX", "US"}, {"eo", "none"}}) {
    world.setLocale(name);
    EXPECT_EQ(locale.countryCode().value_or("none"), country) << name;
  }
  world.clock.set(SimHandset::kStart - std::chrono::days(120));
  EXPECT_TRUE(locale.daylightSavingTime());
  EXPECT_EQ(seen + locale.timeZoneAbbreviation(), "de_DE once zh_Hans_CN CET CEST");
}

namespace fs = std::filesystem;

class LinuxLocaleInformationTest : public testing::Test {
 protected:
  LinuxLocaleInformationTest() { LinuxWorld::clearEnvironment(); }
  ~LinuxLocaleInformationTest() override { LinuxWorld::clearEnvironment(); }
  // As administration tools do it: written aside and renamed.
  void replace(const std::string& path, const std::string& text) {
    root_.write(path + ".new", text);
    fs::rename(root_ / (path + ".new"), root_ / path);
  }
  void link(const std::string& path, const std::string& target) {
    fs::create_symlink(target, root_ / (path + ".new"));
    fs::rename(root_ / (path + ".new"), root_ / path);
  }

  LoopForTest loop_;
  LinuxClock clock_;
  DirectoryForTest root_;
  const std::string zones_ = "/usr/share/zoneinfo/";
  LocalePaths paths_{root_ / "etc/locale.conf", root_ / "etc/default/locale",
                     root_ / "etc/localtime", root_ / "etc/timezone", zones_};
};

TEST_F(LinuxLocaleInformationTest, ChoosesTheLocale) {
  EXPECT_EQ(readLocaleIdentifier(paths_), "en_US_POSIX");
  setenv("LANG", "it_IT.UTF-8", 1);
  EXPECT_EQ(readLocaleIdentifier(paths_), "it_IT");
  root_.write("etc/default/locale", "LANG=\"fr_FR.UTF-8\"\n");
  EXPECT_EQ(readLocaleIdentifier(paths_), "fr_FR");
  root_.write("etc/locale.conf",
              "# LANG=xx\nLC_TIME=en_DK.UTF-8\n  LANG='de_AT@euro' \nLANGUAGE=de\n");
  EXPECT_EQ(readLocaleIdentifier(paths_), "de_AT");
  root_.write("etc/locale.conf", "LC_ALL=C.UTF-8\nLANG=de_DE\n");
  EXPECT_EQ(readLocaleIdentifier(paths_), "en_US_POSIX");
  setenv("LC_ALL", "sv_SE", 1);
  EXPECT_EQ(readLocaleIdentifier(paths_), "sv_SE");
  // What can't be an identifier is passed over.
  setenv("LC_ALL", "en/../US", 1);
  root_.write("etc/locale.conf", "LANG=" + std::string(10'000, 'a') + "\nLC_ALL\n=\nLANG");
  EXPECT_EQ(readLocaleIdentifier(paths_), "fr_FR");
}

TEST_F(LinuxLocaleInformationTest, ChoosesTheTimeZone) {
  EXPECT_EQ(readTimeZone(paths_), "UTC");
  root_.write("etc/timezone", "Asia/Tokyo\n");
  EXPECT_EQ(readTimeZone(paths_), "Asia/Tokyo");
  root_.write("etc/timezone", "../../etc/passwd\n");
  EXPECT_EQ(readTimeZone(paths_), "UTC");

  const std::pair<const char*, const char*> links[] = {
      {"../usr/share/zoneinfo/posix/America/Argentina/Buenos_Aires",
       "America/Argentina/Buenos_Aires"},
      {"localtime", "UTC"},  // a loop
      {"/usr/share/zoneinfo/Asia/Kolkata", "Asia/Kolkata"}};
  for (const auto& [target, zone] : links) {
    link("etc/localtime", target);
    EXPECT_EQ(readTimeZone(paths_), zone) << target;
  }

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
}

TEST_F(LinuxLocaleInformationTest, ReportsRealChangesOnly) {
  fs::create_directories(root_ / "etc/writable");
  LinuxLocaleInformation locale(loop_.event(), clock_, paths_);
  int locales = 0, zones = 0;
  using Change = LocaleInformation::Change;
  Registration localeChanges = locale.observe(Change::Locale, [&] { ++locales; });
  const Registration zoneChanges = locale.observe(Change::TimeZone, [&] { ++zones; });
  // The settings, and how often a change of each was reported.
  const auto state = [&] {
    loop_.drain();
    const auto now = locale.settings();
    return now.locale + " " + std::to_string(locales) + " " + now.zone + " " +
           std::to_string(zones);
  };
  EXPECT_EQ(state(), "en_US_POSIX 0 UTC 0");
  root_.write("etc/locale.conf", "LANG=de_DE.UTF-8\n");
  EXPECT_EQ(state(), "de_DE 1 UTC 0");
  replace("etc/locale.conf", "# the same\nLANG=de_DE\n");
  root_.write("etc/hostname", "zorva\n");
  EXPECT_EQ(state(), "de_DE 1 UTC 0");
  replace("etc/locale.conf", "LANG=de_CH\n");
  link("etc/localtime", zones_ + "Europe/Berlin");
  EXPECT_EQ(state(), "de_CH 2 Europe/Berlin 1");

  // A snapshot is right at once, and does not swallow the news.
  fs::remove(root_ / "etc/locale.conf");
  EXPECT_EQ(locale.identifier(), "en_US_POSIX");
  EXPECT_EQ(state(), "en_US_POSIX 3 Europe/Berlin 1");

  // A copy instead of a link has no name, but another copy is another zone.
  fs::remove(root_ / "etc/localtime");
  fs::copy_file(zones_ + "Asia/Tokyo", root_ / "etc/localtime");
  EXPECT_EQ(state(), "en_US_POSIX 3 UTC 2");
  fs::copy_file(zones_ + "Asia/Kolkata", root_ / "etc/other");
  fs::rename(root_ / "etc/other", root_ / "etc/localtime");
  EXPECT_EQ(state(), "en_US_POSIX 3 UTC 3");

  // A setting of the environment's own does not follow the files.
  setenv("TZ", "Asia/Kolkata", 1);
  replace("etc/timezone", "Europe/Berlin\n");
  EXPECT_EQ(state(), "en_US_POSIX 3 Asia/Kolkata 4");
  link("etc/localtime", zones_ + "Europe/Berlin");
  localeChanges.reset();
  replace("etc/locale.conf", "LANG=fi_FI\n");
  EXPECT_EQ(state(), "fi_FI 3 Asia/Kolkata 4");
}

}  // namespace
}  // namespace zorva
