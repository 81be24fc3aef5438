// SPDX-License-Identifier: Apache-2.0
// What the locale and the time zone promise, on the simulated handset and over the files of etc.

#include <gtest/gtest.h>
#include <stdlib.h>

#include "platform/assemble/SimHandset.h"
#include "platform/locale/linux/LinuxLocaleInformation.h"
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
  world.setLocale("eo");
  EXPECT_EQ(locale.countryCode(), std::nullopt);
  world.clock.set(SimHandset::kStart - std::chrono::days(120));
  EXPECT_TRUE(locale.daylightSavingTime());
  EXPECT_EQ(seen + locale.timeZoneAbbreviation(), "de_DE once zh_Hans_CN CET CEST");
}

}  // namespace
}  // namespace zorva
