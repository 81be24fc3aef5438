// SPDX-License-Identifier: Apache-2.0
// What energy counters promise, on the simulated handset and over a tree of the kernel's files.

#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/assemble/SimHandset.h"
#include "platform/energy/linux/LinuxEnergyCounters.h"
#include "platform/system/sim/SimSystemLog.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {
namespace {

// Each world sets the figure of a counter, which it makes where there is none.
struct SimWorld {
  SimHandset handset;
  EnergyCounters& counters = handset.energy();
  void set(const std::string& name, std::optional<std::uint64_t> used) {
    EnergyCounters::Counter& counter = handset.energy().counter(name);
    counter.used = used;
    counter.range = 9;
  }
  void remove(const std::string& name) { handset.energy().remove(name); }
};
struct LinuxWorld {
  DirectoryForTest root;
  SimSystemLog systemLog;
  LinuxEnergyCounters counters{systemLog, root / "powercap", root / "hwmon"};
  void set(const std::string& name, std::optional<std::uint64_t> used, std::string zone = "") {
    zone = "powercap/" + (zone.empty() ? name : zone);
    root.write(zone + "/name", name + "\n");
    root.write(zone + "/energy_uj", used ? std::to_string(*used) + "\n" : "");
    root.write(zone + "/max_energy_range_uj", "9\n");
  }
  void remove(const std::string& name) { std::filesystem::remove_all(root / ("powercap/" + name)); }
};

using Texts = std::vector<std::string>;

Texts namesAndFigures(EnergyCounters& counters) {
  Texts texts;
  for (const auto& counter : counters.read().counters) {
    texts.push_back(counter.name + (counter.used ? "=" + std::to_string(*counter.used) : ""));
  }
  return texts;
}

template <typename World>
class EnergyContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(EnergyContract, Worlds);

TYPED_TEST(EnergyContract, CountersKeepTheirIdsAndComeAndGo) {
  TypeParam world;
  const auto texts = [&] { return namesAndFigures(world.counters); };
  EXPECT_EQ(texts(), Texts());
  world.set("a", 18446744073709551615u);
  world.set("b", 0);
  EXPECT_EQ(texts(), (Texts{"a=18446744073709551615", "b=0"}));
  const EnergyCounters::Reading before = world.counters.read();
  EXPECT_EQ(before.counters[0].range, 9u);
  world.set("a", 1);
  world.set("b", std::nullopt);
  EXPECT_EQ(texts(), (Texts{"a=1", "b"}));
  EXPECT_EQ(before.counters[1].id, world.counters.read().counters[1].id);
  EXPECT_LE(before.awake, world.counters.read().awake);
  world.remove("a");
  EXPECT_EQ(texts(), Texts{"b"});
}

class LinuxEnergyCountersTest : public testing::Test, protected LinuxWorld {
 protected:
  void link(const std::string& to, const std::string& name) {
    std::filesystem::create_directory_symlink(root / to, root / name);
  }
  // A sensor of a device on its bus.
  void sensor(const std::string& chip, const std::string& device, const std::string& bus) {
    root.write("devices/" + device + "/power/runtime_status", "active\n");
    root.write("bus/" + bus + "/uevent", "");
    root.write("hwmon/" + chip + "/name", "xe\n");
    root.write("hwmon/" + chip + "/energy1_input", "7\n");
    link("devices/" + device, "hwmon/" + chip + "/device");
    link("bus/" + bus, "devices/" + device + "/subsystem");
  }
  Texts texts() { return namesAndFigures(counters); }
};

TEST_F(LinuxEnergyCountersTest, NamesAreUniqueAndEachPartIsListedOnce) {
  root.write("powercap/dtpm:0/name", "no counter\n");
  set("package-0", 1, "intel-rapl:0");
  set("core", 2, "intel-rapl:0:0");
  set("uncore", 3, "intel-rapl:0:1");
  set("psys", 4, "intel-rapl:1");
  set("package-0", 1, "intel-rapl-mmio:0");
  EXPECT_EQ(texts(), (Texts{"package-0=1", "core=2", "uncore=3", "psys=4"}));
  set("package-1", 5, "intel-rapl:2");
  set("core", 6, "intel-rapl:2:0");
  set("psys", 8, "intel-rapl:3");
  sensor("hwmon0", "0000:03:00.0", "pci");
  EXPECT_EQ(texts(),
            (Texts{"package-0=1", "package-0.core=2", "uncore=3", "psys@intel-rapl:1=4",
                   "package-1=5", "package-1.core=6", "psys@intel-rapl:3=8", "xe.energy1=7"}));
  sensor("hwmon1", "0000:04:00.0", "pci");
  for (const char* chip : {"0", "1"}) {
    root.write(std::string("hwmon/hwmon") + chip + "/energy1_label", "pkg\n");
  }
  EXPECT_EQ(texts().back(), "xe.pkg@0000:04:00.0=7");
}

TEST_F(LinuxEnergyCountersTest, ASuspendedDeviceIsNotRead) {
  sensor("hwmon0", "card/i2c-1/1-0040", "i2c");
  root.write("devices/card/i2c-1/power/runtime_status", "suspended\n");  // as always
  link("bus/i2c", "devices/card/i2c-1/subsystem");
  root.write("bus/pci/uevent", "");
  link("bus/pci", "devices/card/subsystem");
  const Descriptor opened(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  inotify_add_watch(opened.get(), (root / "hwmon/hwmon0/energy1_input").c_str(), IN_OPEN);
  const auto wasRead = [&] {
    char events[4096];
    return ::read(opened.get(), events, sizeof events) > 0;
  };
  EXPECT_EQ(texts(), Texts{"xe.energy1=7"});
  EXPECT_TRUE(wasRead());
  for (const std::string device : {"card", "card/i2c-1/1-0040"}) {
    root.write("devices/" + device + "/power/runtime_status", "suspended\n");
    EXPECT_EQ(texts(), Texts{"xe.energy1"}) << device;
    EXPECT_FALSE(wasRead()) << device;
    root.write("devices/" + device + "/power/runtime_status", "active\n");
  }
}

TEST_F(LinuxEnergyCountersTest, CountersForRootOnlyAreReportedOnce) {
  for (const char* zone : {"a", "b"}) {
    set(zone, 1);
    chmod((root / (std::string("powercap/") + zone + "/energy_uj")).c_str(), 0);
  }
  const uid_t user = geteuid();
  EXPECT_EQ(seteuid(user == 0 ? 65534 : user), 0);
  EXPECT_EQ(texts(), Texts());
  EXPECT_EQ(seteuid(user), 0);
  EXPECT_EQ(systemLog.takeLines(), Texts{"Cannot read '" + (root / "powercap/a/energy_uj") +
                                         "': Permission denied. Run zorva as root to log the "
                                         "processor's energy"});
}

}  // namespace
}  // namespace zorva
