// SPDX-License-Identifier: Apache-2.0
#include "platform/thermal/linux/LinuxThermal.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <linux/thermal.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/kit/netlink/NetlinkSocket.h"
#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/system/linux/LinuxSystemLog.h"
#include "platform/testing/MockKernel.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

using Attributes = std::vector<std::pair<std::uint16_t, std::uint32_t>>;

// One message, of its own length or of a pretended one, at the alignment of messages.
std::vector<std::uint8_t> message(int family, std::uint8_t event, const Attributes& attributes = {},
                                  std::optional<std::uint32_t> length = {}) {
  std::vector<std::uint8_t> bytes(sizeof(nlmsghdr) + sizeof(genlmsghdr));
  for (const auto& [type, value] : attributes) {
    const nlattr header{8, type};
    const auto* first = reinterpret_cast<const std::uint8_t*>(&header);
    bytes.insert(bytes.end(), first, first + sizeof header);
    first = reinterpret_cast<const std::uint8_t*>(&value);
    bytes.insert(bytes.end(), first, first + sizeof value);
  }
  const nlmsghdr header{length.value_or(static_cast<std::uint32_t>(bytes.size())),
                        static_cast<std::uint16_t>(family), 0, 0, 0};
  const genlmsghdr generic{event, THERMAL_GENL_VERSION, 0};
  std::memcpy(bytes.data(), &header, sizeof header);
  std::memcpy(bytes.data() + sizeof header, &generic, sizeof generic);
  return bytes;
}

std::string description(const ThermalChanges& changes) {
  std::string text = changes.anything ? "anything;" : "";
  for (const auto zone : changes.zones) text += "zone " + std::to_string(zone) + ";";
  for (const auto& [device, state] : changes.states) {
    text += "device " + std::to_string(device) + " at " + std::to_string(state) + ";";
  }
  return text;
}

constexpr int kFamily = 19;
constexpr std::uint8_t kUpdate = THERMAL_GENL_EVENT_CDEV_STATE_UPDATE;
constexpr std::uint8_t kUp = THERMAL_GENL_EVENT_TZ_TRIP_UP;
const Attributes kDevice3At2{{THERMAL_GENL_ATTR_CDEV_ID, 3}, {THERMAL_GENL_ATTR_CDEV_CUR_STATE, 2}};
const Attributes kZone7{{THERMAL_GENL_ATTR_TZ_ID, 7}, {THERMAL_GENL_ATTR_TZ_TRIP_ID, 1}};

TEST(ThermalEvents, AreTakenFromWellFormedMessagesOfTheFamilyOnly) {
  const auto both = [](std::vector<std::uint8_t> first, const std::vector<std::uint8_t>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
  };
  const auto cut = [](std::vector<std::uint8_t> bytes, std::size_t length) {
    bytes.resize(length);
    return bytes;
  };
  const auto update = message(kFamily, kUpdate, kDevice3At2);
  const auto updateOfLength = [](std::uint32_t length) {
    return message(kFamily, kUpdate, kDevice3At2, length);
  };
  const struct {
    std::vector<std::uint8_t> bytes;
    const char* says;
  } cases[] = {
      {update, "device 3 at 2;"},
      {updateOfLength(28), "anything;"},  // no state
      {message(kFamily, kUpdate), "anything;"},
      {message(kFamily, kUp, kZone7), "zone 7;"},
      {message(kFamily, kUp), "anything;"},
      {message(kFamily, THERMAL_GENL_EVENT_TZ_DISABLE, kZone7), "zone 7;"},
      {message(kFamily, THERMAL_GENL_EVENT_TZ_CREATE, kZone7), "anything;"},
      {message(kFamily, THERMAL_GENL_EVENT_TZ_GOV_CHANGE, kZone7), ""},
      {message(kFamily + 1, kUpdate, kDevice3At2), ""},
      {both(message(kFamily, kUp, kZone7), update), "zone 7;device 3 at 2;"},
      {{}, ""},
      {cut(update, 35), ""},
      {updateOfLength(0), ""},
      {updateOfLength(16), ""},  // no generic header
      {updateOfLength(37), ""},
      {updateOfLength(0xFFFF'FFFF), ""},
      {both(message(kFamily, 0, {}, 0), update), ""},
      {both(message(kFamily, 0, {}, 57), update), ""},  // up to behind the very end
  };
  for (const auto& [bytes, says] : cases) {
    // A copy of exactly this size, so that the sanitizer sees a read behind it.
    std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());
    ThermalChanges changes;
    readThermalEvents(exact, kFamily, changes);
    EXPECT_EQ(description(changes), says) << &bytes - &cases[0].bytes;
  }
}

TEST(ThermalEvents, WakeNobodyForTheRest) {
  const Descriptor socket = openNetlink(NETLINK_USERSOCK, {});
  sockaddr_nl own{};
  socklen_t size = sizeof own;
  ASSERT_EQ(::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&own), &size), 0);
  ASSERT_TRUE(dropOtherThermalEvents(socket.get()));
  std::string received;
  for (int event = 0; event <= THERMAL_GENL_EVENT_CPU_CAPABILITY_CHANGE; ++event) {
    auto bytes = message(kFamily, static_cast<std::uint8_t>(event), kZone7);
    ::sendto(socket.get(), bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&own), size);
    if (::recv(socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT) > 0) {
      received += std::to_string(event) + " ";
    }
  }
  EXPECT_EQ(received, "1 2 3 4 5 6 10 11 12 ");
}

// A phone has a hundred zones: nothing is read that an event does not name.
TEST(Throttling, FollowsTheEventsWithoutReadingTheRest) {
  const DirectoryForTest root;
  const auto device = [](int number) { return "cooling_device" + std::to_string(number); };
  for (int number = 0; number < 4; ++number) {
    root.write(device(number) + "/max_state", "4\n");
    root.write(device(number) + "/cur_state", "0\n");
  }
  const auto bind = [&](const std::string& zone, int entry, int number, const char* trip) {
    root.write(zone + "/cdev" + std::to_string(entry) + "_trip_point", trip);
    std::filesystem::create_symlink("../" + device(number),
                                    root / (zone + "/cdev" + std::to_string(entry)));
  };
  for (const char* zone : {"thermal_zone0", "thermal_zone7"}) {
    root.write(std::string(zone) + "/trip_point_0_type", "passive\n");
    root.write(std::string(zone) + "/trip_point_1_type", "active\n");
  }
  bind("thermal_zone0", 0, 0, "0");
  bind("thermal_zone0", 1, 2, "1");  // a fan
  bind("thermal_zone7", 0, 0, "0");
  bind("thermal_zone7", 1, 3, "0");
  Throttling throttling(root / "");
  throttling.readAll();
  const auto levelAfter = [&](const ThermalChanges& changes) {
    throttling.apply(changes);
    return throttling.level();
  };
  for (int number = 0; number < 4; ++number) root.write(device(number) + "/cur_state", "3\n");
  EXPECT_EQ(levelAfter({false, {}, {{0, 1}}}), 25);
  EXPECT_EQ(levelAfter({false, {}, {{2, 4}, {1, 4}, {9, 4}}}), 25) << "fans and strangers";
  EXPECT_EQ(levelAfter({false, {1, 9}, {{0, 0}}}), 0) << "zones without devices";
  EXPECT_EQ(levelAfter({false, {0}, {}}), 75);
  root.write(device(3) + "/cur_state", "4\n");
  EXPECT_EQ(levelAfter({false, {0}, {{0, 2}}}), 50);
  EXPECT_EQ(levelAfter({false, {7}, {}}), 100);
  // A device that comes is known from then on.
  bind("thermal_zone0", 2, 1, "0");
  throttling.readAll();
  EXPECT_EQ(throttling.level(), 100);
  EXPECT_EQ(levelAfter({false, {}, {{3, 0}, {0, 0}, {1, 1}}}), 25);
  std::filesystem::remove_all(root / "thermal_zone7");
  std::filesystem::remove_all(root / "thermal_zone0");
  throttling.readAll();
  EXPECT_EQ(throttling.level(), 0);
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

  int levelHeard_ = -1;
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
  const auto listening = notifications_.observe(kThermalLevelChanged, [&](auto) {
    ++heard;
    levelHeard_ = thermal_.level();
  });
  const auto change = [&](const char* state) {
    bind("thermal_zone0", "cdev0", "0", state, "4");
    send(zone, "change");
    loop_.drain();
  };
  change("1");
  EXPECT_EQ(heard, 0);
  EXPECT_FALSE(thermal_.receivesEvents());
  EXPECT_EQ(thermal_.level(), 25);
  bind("thermal_zone0", "cdev0", "0", "3", "4");  // no event tells it
  EXPECT_EQ(thermal_.level(), 75);
  change("3");
  EXPECT_EQ(heard, 0);
  change("1");
  EXPECT_EQ(heard, 1);
  // The event of a zone is not for the others.
  write("thermal_zone1/trip_point_0_type", "passive");
  bind("thermal_zone1", "cdev0", "0", "1", "4");
  EXPECT_EQ(thermal_.level(), 25);
  bind("thermal_zone1", "cdev0", "0", "4", "4");
  change("2");
  EXPECT_EQ(heard, 2);
  EXPECT_EQ(levelHeard_, 50);
  EXPECT_EQ(thermal_.level(), 100);
  // The kernel's events, which not every kernel has, are received while something can throttle.
  const bool kernelHasEvents = ThermalEvents(loop_.event(), {}).descriptor() >= 0;
  EXPECT_EQ(thermal_.receivesEvents(), kernelHasEvents);
  const auto receivesWith = [&](const char* type, const char* event) {
    for (const char* number : {"0", "1"}) {
      write(std::string("thermal_zone") + number + "/trip_point_0_type", type);
    }
    send(zone, event);
    loop_.drain();
    return thermal_.receivesEvents();
  };
  EXPECT_FALSE(receivesWith("active", "add"));
  EXPECT_EQ(heard, 3);
  EXPECT_EQ(receivesWith("passive", "add"), kernelHasEvents);
  EXPECT_EQ(levelHeard_, 100);
}

}  // namespace
}  // namespace zorva
