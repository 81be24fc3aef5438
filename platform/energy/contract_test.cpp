// SPDX-License-Identifier: Apache-2.0
// What energy counters promise, on the simulated handset and over a tree of the kernel's files.

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/assemble/SimHandset.h"
#include "platform/energy/linux/LinuxEnergyCounters.h"
#include "platform/system/sim/SimSystemLog.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {
namespace {

// Each world makes a counter, or sets its figure.
struct SimWorld {
  SimHandset handset;
  EnergyCounters& counters = handset.energy();
  void set(const std::string& name, std::uint64_t used, std::uint64_t range) {
    EnergyCounters::Counter& counter = handset.energy().counter(name);
    counter.used = used;
    counter.range = range;
  }
  void fail(const std::string& name) { handset.energy().counter(name).used.reset(); }
  void remove(const std::string& name) { handset.energy().remove(name); }
};
struct LinuxWorld {
  DirectoryForTest root;
  SimSystemLog systemLog;
  LinuxEnergyCounters counters{systemLog, root / "powercap", root / "hwmon"};
  void set(const std::string& name, std::uint64_t used, std::uint64_t range) {
    const std::string zone = "powercap/intel-rapl:" + name + "/";
    root.write(zone + "name", name + "\n");
    root.write(zone + "energy_uj", std::to_string(used) + "\n");
    root.write(zone + "max_energy_range_uj", std::to_string(range) + "\n");
  }
  void fail(const std::string& name) {
    root.write("powercap/intel-rapl:" + name + "/energy_uj", "");
  }
  void remove(const std::string& name) {
    std::filesystem::remove_all(root / ("powercap/intel-rapl:" + name));
  }
};

// "NAME USED RANGE" of each, by their ids.
std::map<std::string, std::string> all(EnergyCounters& counters) {
  std::map<std::string, std::string> found;
  for (const auto& counter : counters.read().counters) {
    found[counter.id] = counter.name + " " + (counter.used ? std::to_string(*counter.used) : "-") +
                        " " + std::to_string(counter.range);
  }
  return found;
}

template <typename World>
class EnergyContract : public testing::Test {
 protected:
  std::vector<std::string> counters() {
    std::vector<std::string> texts;
    for (const auto& [id, text] : all(world_.counters)) texts.push_back(text);
    return texts;
  }
  World world_;
};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(EnergyContract, Worlds);

TYPED_TEST(EnergyContract, CountersKeepTheirIdsAndComeAndGo) {
  using Texts = std::vector<std::string>;
  TypeParam& world = this->world_;
  EXPECT_EQ(this->counters(), Texts());
  world.set("a", 18446744073709551615u, 262143328850);
  world.set("b", 0, 0);
  EXPECT_EQ(this->counters(), (Texts{"a 18446744073709551615 262143328850", "b 0 0"}));
  const auto before = all(world.counters);
  world.set("a", 1, 262143328850);
  world.fail("b");
  EXPECT_EQ(this->counters(), (Texts{"a 1 262143328850", "b - 0"}));
  EXPECT_EQ(before.begin()->first, all(world.counters).begin()->first);
  world.remove("a");
  EXPECT_EQ(this->counters(), Texts{"b - 0"});
  const double awake = world.counters.read().awake;
  EXPECT_LE(awake, world.counters.read().awake);
}

class LinuxEnergyCountersTest : public testing::Test {
 protected:
  void zone(const std::string& zone, const char* name) {
    root.write("powercap/" + zone + "/name", name);
    root.write("powercap/" + zone + "/energy_uj", "5\n");
    root.write("powercap/" + zone + "/max_energy_range_uj", "9\n");
  }
  // A sensor of a device on its bus.
  void sensor(const std::string& chip, const std::string& device, const std::string& bus) {
    root.write("devices/" + device + "/power/runtime_status", "active\n");
    root.write("bus/" + bus + "/uevent", "");
    root.write("hwmon/" + chip + "/name", "xe\n");
    root.write("hwmon/" + chip + "/energy1_input", "7\n");
    root.write("hwmon/" + chip + "/temp1_input", "8\n");
    std::filesystem::create_directory_symlink(root / ("devices/" + device),
                                              root / ("hwmon/" + chip + "/device"));
    std::filesystem::create_directory_symlink(root / ("bus/" + bus),
                                              root / ("devices/" + device + "/subsystem"));
  }
  std::vector<std::string> names() {
    std::vector<std::string> names;
    for (const auto& counter : counters.read().counters) {
      names.push_back(counter.name + (counter.used ? "" : " -"));
    }
    return names;
  }

  using Names = std::vector<std::string>;
  DirectoryForTest root;
  SimSystemLog systemLog;
  LinuxEnergyCounters counters{systemLog, root / "powercap", root / "hwmon"};
};

TEST_F(LinuxEnergyCountersTest, NamesAreUniqueAndEachPartIsListedOnce) {
  root.write("powercap/intel-rapl/enabled", "1\n");
  root.write("powercap/dtpm:0/name", "no counter\n");
  zone("intel-rapl:0", "package-0\n");
  zone("intel-rapl:0:0", "core\n");
  zone("intel-rapl:0:1", "uncore\n");
  zone("intel-rapl:1", "psys\n");
  zone("intel-rapl-mmio:0", "package-0\n");
  EXPECT_EQ(names(), (Names{"package-0", "core", "uncore", "psys"}));
  zone("intel-rapl:2", "package-1\n");
  zone("intel-rapl:2:0", "core\n");
  zone("intel-rapl:3", "psys\n");
  sensor("hwmon0", "0000:03:00.0", "pci");
  EXPECT_EQ(names(), (Names{"package-0", "package-0.core", "uncore", "psys@intel-rapl:1",
                            "package-1", "package-1.core", "psys@intel-rapl:3", "xe.energy1"}));
  root.write("hwmon/hwmon0/energy1_label", "pkg\n");
  sensor("hwmon1", "0000:04:00.0", "pci");
  root.write("hwmon/hwmon1/energy1_label", "pkg\n");
  EXPECT_EQ(names().back(), "xe.pkg@0000:04:00.0");
}

TEST_F(LinuxEnergyCountersTest, ASuspendedDeviceIsNotRead) {
  sensor("hwmon0", "0000:00:01.0/i2c-1/1-0040", "i2c");
  root.write("devices/0000:00:01.0/power/runtime_status", "active\n");
  root.write("devices/0000:00:01.0/i2c-1/power/runtime_status", "suspended\n");  // as always
  std::filesystem::create_directory_symlink(root / "bus/i2c",
                                            root / "devices/0000:00:01.0/i2c-1/subsystem");
  root.write("bus/pci/uevent", "");
  std::filesystem::create_directory_symlink(root / "bus/pci",
                                            root / "devices/0000:00:01.0/subsystem");
  const Descriptor opened(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  ASSERT_GE(inotify_add_watch(opened.get(), (root / "hwmon/hwmon0/energy1_input").c_str(), IN_OPEN),
            0);
  const auto wasRead = [&] {
    char events[4096];
    return ::read(opened.get(), events, sizeof events) > 0;
  };
  EXPECT_EQ(names(), Names{"xe.energy1"});
  EXPECT_TRUE(wasRead());
  for (const char* device : {"0000:00:01.0", "0000:00:01.0/i2c-1/1-0040"}) {
    const std::string status = std::string("devices/") + device + "/power/runtime_status";
    root.write(status, "suspended\n");
    EXPECT_EQ(names(), Names{"xe.energy1 -"}) << device;
    EXPECT_FALSE(wasRead()) << device;
    root.write(status, "active\n");
  }
}

TEST_F(LinuxEnergyCountersTest, CountersForRootOnlyAreReportedOnce) {
  zone("intel-rapl:0", "package-0\n");
  zone("intel-rapl:0:0", "core\n");
  const std::string path = root / "powercap/intel-rapl:0/energy_uj";
  for (const char* zone : {"0", "0:0"}) {
    chmod((root / (std::string("powercap/intel-rapl:") + zone + "/energy_uj")).c_str(), 0);
  }
  const bool isRoot = geteuid() == 0;
  if (isRoot) {
    EXPECT_EQ(seteuid(65534), 0);
  }
  EXPECT_EQ(names(), Names());
  EXPECT_EQ(names(), Names());
  if (isRoot) {
    EXPECT_EQ(seteuid(0), 0);
  }
  EXPECT_EQ(systemLog.takeLines(), Names{"Cannot read '" + path +
                                         "': Permission denied. Run zorva as root to log the "
                                         "processor's energy"});
}

}  // namespace
}  // namespace zorva
