#include "platform/location/linux/LinuxLocationService.h"

#include <gtest/gtest.h>

#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/system/linux/LinuxSystemLog.h"
#include "platform/telephony/linux/ModemManagerClient.h"
#include "platform/testing/PrivateBus.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

constexpr const char* kService = "org.freedesktop.GeoClue2";
constexpr const char* kPath = "/org/freedesktop/GeoClue2/Manager";
constexpr const char* kManager = "org.freedesktop.GeoClue2.Manager";

class LinuxLocationServiceTest : public testing::Test {
 protected:
  using Codes = std::vector<std::int64_t>;

  void setInUse(bool inUse) {
    private_.call(kService, kPath, PrivateBusForTest::kMock, "UpdateProperties", "sa{sv}", kManager,
                  1, "InUse", "b", inUse);
  }
  void reportModem(const std::string& code) {
    private_.call(mm::kService, mm::kPath, "org.zorva.Mock", "Do", "s", code.c_str());
  }
  // What is told next.
  Codes next() {
    loop_.runUntil([&] { return !reported_.empty(); });
    EXPECT_EQ(reported_.size(), 1u);
    return std::exchange(reported_, {})[0];
  }

  DirectoryForTest directory_;
  PrivateBusForTest private_;
  LoopForTest loop_;
  LinuxSystemLog log_{loop_};
  LinuxSystemNotifications notifications_{loop_, log_, {directory_ / "", "", ""}};
  std::vector<Codes> reported_;
};

TEST_F(LinuxLocationServiceTest, FollowsGeoClueAndTheModems) {
  private_.start();
  auto geoClue = private_.startService(kService, kPath, kManager);
  private_.call(kService, kPath, PrivateBusForTest::kMock, "AddProperty", "ssv", kManager, "InUse",
                "b", true);
  LinuxBus bus(loop_.event(), private_.address());
  ModemManagerClient modems(loop_.event(), bus);
  LinuxLocationService location(
      loop_.event(), bus,
      {[&] { return modems.enabledLocationSources(); },
       [&](std::function<void()> changed) { return modems.observe(std::move(changed)); }},
      notifications_);
  EXPECT_EQ(location.copyTechnologiesInUse(), Codes{4});
  const Registration heard = notifications_.observe(
      kLocationTechnologyStatusChanged,
      [&](std::string_view) { reported_.push_back(location.copyTechnologiesInUse()); });
  ASSERT_TRUE(heard);

  auto modemManager = runProgram({"/usr/bin/python3", "platform/testing/ModemManagerMock.py"});
  loop_.runUntil([&] { return modems.running(); });
  reportModem("modem = add('/Modem/0', Modem=dict(), Modem_Location=dict(Enabled=dbus.UInt32(1)))");
  EXPECT_EQ(next(), Codes({4, 6}));
  setInUse(false);
  EXPECT_EQ(next(), Codes({6}));
  // Raw and managed by others are both GPS; help for GPS is no source, so it is no news.
  reportModem("modem.set('Modem.Location', Enabled=dbus.UInt32(0x76))");
  EXPECT_EQ(next(), Codes({1, 2}));
  reportModem("modem.set('Modem.Location', Enabled=dbus.UInt32(0x16))");
  reportModem(
      "modem.set('Modem.Location', Location=dbus.Dictionary({dbus.UInt32(4): '$GPGGA'}, "
      "signature='uv'))");
  reportModem("add('/Modem/1', Modem=dict(), Modem_Location=dict(Enabled=dbus.UInt32(8)))");
  EXPECT_EQ(next(), Codes({1, 2, 6}));
  setInUse(true);
  EXPECT_EQ(next(), Codes({1, 2, 4, 6}));
  geoClue.reset();
  EXPECT_EQ(next(), Codes({1, 2, 6}));
  modemManager.reset();
  EXPECT_EQ(next(), Codes());
  EXPECT_TRUE(location.copyClients().empty());
}

}  // namespace
}  // namespace zorva
