// SPDX-License-Identifier: Apache-2.0
// What the location service promises, on the simulated handset and with a mocked GeoClue.

#include <gtest/gtest.h>
#include <set>

#include "platform/assemble/SimHandset.h"
#include "platform/location/linux/LinuxLocationService.h"
#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/system/linux/LinuxSystemLog.h"
#include "platform/testing/PrivateBus.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

using Codes = std::set<std::int64_t>;

// Nothing locates in either world at first.
struct SimWorld {
  SimHandset handset;
  SimLocationService& location = handset.location();
  NotificationCentre& notifications = handset.notifications();
  Codes technologies;

  SimWorld() { location.setTechnologies({}); }
  void set(std::int64_t code, bool on) {
    technologies.erase(code);
    if (on) technologies.insert(code);
    location.setTechnologies({technologies.begin(), technologies.end()});
  }
  void setWiFi(bool on) { set(4, on); }
  void setCell(bool on) { set(6, on); }
  void removeServices() {
    technologies.clear();
    location.setTechnologies({});
  }
  void until(const std::function<bool()>& condition) const { ASSERT_TRUE(condition()); }
};
struct LinuxWorld {
  static constexpr const char* kService = "org.freedesktop.GeoClue2";
  static constexpr const char* kPath = "/org/freedesktop/GeoClue2/Manager";
  static constexpr const char* kManager = "org.freedesktop.GeoClue2.Manager";

  struct Bus : PrivateBusForTest {
    Bus() {
      start();
      geoClue = startService(kService, kPath, kManager);
      call(kService, kPath, kMock, "AddProperty", "ssv", kManager, "InUse", "b", false);
    }
    std::unique_ptr<ChildForTest> geoClue;
  };
  void setWiFi(bool on) {
    private_.call(kService, kPath, PrivateBusForTest::kMock, "UpdateProperties", "sa{sv}", kManager,
                  1, "InUse", "b", int{on});
  }
  void setSources(std::uint32_t bits) {
    sources = bits;
    modems.notify();
  }
  void setCell(bool on) { setSources(on ? 1 : 0); }
  void removeServices() {
    private_.geoClue.reset();
    setCell(false);
  }
  void until(const std::function<bool()>& condition) const { loop.runUntil(condition); }

  DirectoryForTest directory;
  Bus private_;
  LoopForTest loop;
  LinuxSystemLog log{loop};
  LinuxSystemNotifications notifications{loop, log, {directory / "", "", ""}};
  LinuxBus bus{loop.event(), private_.address()};
  std::uint32_t sources = 0;  // of modems
  Observers<> modems;
  LinuxLocationService location{loop.event(), bus,
                                ModemLocationSources{[this] { return sources; },
                                                     [this](std::function<void()> changed) {
                                                       return modems.add(std::move(changed));
                                                     }},
                                notifications};
};

template <typename World>
class LocationContract : public testing::Test {
 protected:
  Codes inUse() {
    const auto codes = world.location.copyTechnologiesInUse();
    EXPECT_EQ(Codes(codes.begin(), codes.end()).size(), codes.size()) << "one is listed twice";
    return {codes.begin(), codes.end()};
  }
  World world;
};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(LocationContract, Worlds);

TYPED_TEST(LocationContract, EveryChangeOfTheTechnologiesIsPostedAndReadable) {
  std::vector<Codes> reported;
  int clientNews = 0;
  const auto technologies = this->world.notifications.observe(
      kLocationTechnologyStatusChanged,
      [&](std::string_view) { reported.push_back(this->inUse()); });
  const auto clients = this->world.notifications.observe(kLocationClientStatusChanged,
                                                         [&](std::string_view) { ++clientNews; });
  EXPECT_EQ(this->inUse(), Codes());
  const auto expect = [&](const std::vector<Codes>& steps) {
    this->world.until([&] { return reported.size() >= steps.size(); });
    EXPECT_EQ(std::exchange(reported, {}), steps);
    EXPECT_EQ(this->inUse(), steps.back());
  };
  this->world.setWiFi(true);
  expect({{4}});
  this->world.setCell(true);
  expect({{4, 6}});
  this->world.setWiFi(false);
  expect({{6}});
  this->world.setCell(false);
  expect({{}});
  this->world.setCell(true);
  expect({{6}});
  this->world.removeServices();
  expect({{}});
  EXPECT_TRUE(this->world.location.copyClients().empty());
  EXPECT_EQ(clientNews, 0);
}

TEST(LinuxLocationServiceTest, KnowsTheModemsSourcesByTheirBits) {
  LinuxWorld world;
  int reported = 0;
  const auto heard = world.notifications.observe(kLocationTechnologyStatusChanged,
                                                 [&](std::string_view) { ++reported; });
  // Raw and managed by others are both GPS; help for GPS is no source, so it is no news.
  const struct {
    std::uint32_t bits;
    std::vector<std::int64_t> codes;
    int reported;
  } cases[] = {{0x76, {1, 2}, 1}, {0x16, {1, 2}, 1}, {0x1F, {1, 2, 6}, 2}, {0x08, {6}, 3}};
  for (const auto& each : cases) {
    world.setSources(each.bits);
    world.loop.drain();
    EXPECT_EQ(world.location.copyTechnologiesInUse(), each.codes) << each.bits;
    EXPECT_EQ(reported, each.reported) << each.bits;
  }
}

}  // namespace
}  // namespace zorva
