// SPDX-License-Identifier: Apache-2.0
#include "platform/thermal/linux/LinuxThermal.h"

#include <cstring>
#include <gtest/gtest.h>
#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <linux/thermal.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/system/linux/LinuxSystemLog.h"
#include "platform/testing/MockKernel.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

// One message, of its own length or of a pretended one, at the alignment of messages.
std::vector<std::uint8_t> message(int family, std::uint8_t event, std::uint32_t length = 28) {
  std::vector<std::uint8_t> bytes(28);
  const nlmsghdr header{length, static_cast<std::uint16_t>(family), 0, 0, 0};
  const genlmsghdr generic{event, THERMAL_GENL_VERSION, 0};
  std::memcpy(bytes.data(), &header, sizeof header);
  std::memcpy(bytes.data() + sizeof header, &generic, sizeof generic);
  return bytes;  // and an attribute of eight bytes, of length 0
}

TEST(ThermalEvents, AreTakenFromWellFormedMessagesOfTheFamilyOnly) {
  constexpr int kFamily = 19;
  constexpr std::uint8_t kUpdate = THERMAL_GENL_EVENT_CDEV_STATE_UPDATE;
  const auto both = [](std::vector<std::uint8_t> first, const std::vector<std::uint8_t>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
  };
  const auto cut = [](std::vector<std::uint8_t> bytes, std::size_t length) {
    bytes.resize(length);
    return bytes;
  };
  const struct {
    std::vector<std::uint8_t> bytes;
    bool event;
  } cases[] = {
      {message(kFamily, kUpdate), true},
      {message(kFamily, kUpdate, 20), true},  // no attribute
      {message(kFamily, THERMAL_GENL_EVENT_TZ_TRIP_UP), true},
      {message(kFamily, THERMAL_GENL_EVENT_TZ_GOV_CHANGE), false},
      {message(kFamily + 1, kUpdate), false},
      {both(message(kFamily, 0), message(kFamily, kUpdate)), true},
      {{}, false},
      {cut(message(kFamily, kUpdate), 27), false},
      {message(kFamily, kUpdate, 0), false},
      {message(kFamily, kUpdate, 16), false},  // no generic header
      {message(kFamily, kUpdate, 29), false},
      {message(kFamily, kUpdate, 0xFFFF'FFFF), false},
      {both(message(kFamily, 0, 0), message(kFamily, kUpdate)), false},
      {both(message(kFamily, 0, 53), message(kFamily, kUpdate)), false},  // up to the very end
  };
  for (const auto& [bytes, event] : cases) {
    // A copy of exactly this size, so that the sanitizer sees a read behind it.
    std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());
    EXPECT_EQ(thermalLevelMayHaveChanged(exact, kFamily), event) << &bytes - &cases[0].bytes;
  }
}

class LinuxThermalTest : public MockKernelTest {
 protected:
  void write(const std::string& file, const std::string& text) {
    root_.write("class/" + file, text + "\n");
  }
  // A cooling device of the zone, as the kernel shows it there.
  void bind(const std::string& zone, const std::string& device, const char* trip, const char* state,
            const char* most) {
    write(zone + "/" + device + "_trip_point", trip);
    write(zone + "/" + device + "/cur_state", state);
    write(zone + "/" + device + "/max_state", most);
  }

  DirectoryForTest root_;
  LoopForTest loop_;
  LinuxSystemLog log_{loop_};
  LinuxSystemNotifications notifications_{loop_, log_, {root_ / "", "", ""}};
  LinuxThermal thermal_{
      loop_.event(), notifications_,
      [this](const std::string& name, LinuxSystemNotifications::StateSource source) {
        return notifications_.provideState(name, std::move(source));
      },
      root_ / "class"};
};

TEST_F(LinuxThermalTest, AReadingThatDoesNotFitIsNone) {
  if (outside()) return;
  const std::pair<const char*, const char*> zones[] = {
      {"thermal_zone0/temp", "27004"},          {"thermal_zone1/temp", "30005"},
      {"thermal_zone2/temp", "-5000"},          {"thermal_zone3/temp", "2147483647"},
      {"thermal_zone4/type", "no temperature"}, {"thermal_zone5/temp", "655351"},
      {"thermal_zone7/temp", "45000"},          {"thermal_zone7/mode", "disabled"}};
  for (const auto& [file, text] : zones) write(file, text);
  EXPECT_EQ(notifications_.state(kThermalSensorValues[0]), 0x0000'0000'0BB9'0A8C);
  EXPECT_EQ(notifications_.state(kThermalSensorValues[1]), 0x1194'0000'0000'0000);
}

TEST_F(LinuxThermalTest, TheLevelIsTheStrongestThrottlingForHeat) {
  if (outside()) return;
  write("thermal_zone0/trip_point_0_type", "passive");
  write("thermal_zone0/trip_point_1_type", "active");
  write("thermal_zone7/trip_point_12_type", "passive");
  const struct {
    const char *zone, *device, *trip, *state, *most;
    int level;
  } cases[] = {
      {"thermal_zone0", "cdev0", "1", "1", "1", 0},    // a fan
      {"thermal_zone0", "cdev1", "-1", "9", "10", 0},  // bound to no temperature
      {"thermal_zone0", "cdev2", "2", "3", "3", 0},    // to one that is not there
      {"thermal_zone0", "cdev3", "0", "0", "3", 0},
      {"thermal_zone0", "cdev4", "0", "-1", "50", 0},
      {"thermal_zone0", "cdev5", "0", "1", "0", 0},
      {"thermal_zone0", "cdev6", "0", "1", "1000", 1},
      {"thermal_zone0", "cdev3", "0", "1", "3", 34},
      {"thermal_zone7", "cdev0", "12", "9223372036854775807", "2", 100},
      {"thermal_zone7", "cdev0", "12", "1", "2", 50},
      {"thermal_zone7", "cdev0", "12", "99999999999999999999", "2", 34},
  };
  for (const auto& c : cases) {
    bind(c.zone, c.device, c.trip, c.state, c.most);
    EXPECT_EQ(thermal_.level(), c.level) << c.zone << " " << c.device << " " << c.state;
  }
}

TEST_F(LinuxThermalTest, PostsNothingThatNobodyAskedForOrThatWasAnswered) {
  if (outside()) return;
  const std::string zone = "/sys/devices/thermal_zone0";
  g_free(umockdev_testbed_add_device(kernel_, "thermal", "thermal_zone0", nullptr, "temp", "1",
                                     nullptr, nullptr));
  write("thermal_zone0/trip_point_0_type", "passive");
  int heard = 0;
  const auto listening = notifications_.observe(kThermalLevelChanged, [&](auto) { ++heard; });
  const auto change = [&](const char* state) {
    bind("thermal_zone0", "cdev0", "0", state, "4");
    send(zone, "change");
    loop_.drain();
  };
  change("1");
  EXPECT_EQ(heard, 0);
  EXPECT_EQ(thermal_.level(), 25);
  bind("thermal_zone0", "cdev0", "0", "3", "4");  // no event tells it
  EXPECT_EQ(thermal_.level(), 75);
  change("3");
  EXPECT_EQ(heard, 0);
  change("1");
  EXPECT_EQ(heard, 1);
}

}  // namespace
}  // namespace zorva
