// SPDX-License-Identifier: Apache-2.0
// Procfs, sysfs and the system's small files may hold anything: names that processes gave
// themselves, a driver's invalid figures. For any contents, figures are in range, texts can be
// shown, and truncated data are rejected.
//
// An input is a byte for the group of files and their contents, divided by NUL bytes.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>

#include "platform/base/Text.h"
#include "platform/kit/files/LogindInhibitors.h"
#include "platform/kit/files/UnitNames.h"
#include "platform/locale/linux/LocaleSettings.h"
#include "platform/loop/linux/LinuxRunLoop.h"
#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/processes/linux/LinuxProcessInformation.h"
#include "platform/processes/linux/LinuxSystemStatistics.h"
#include "platform/processes/linux/SocketDiagnostics.h"
#include "platform/registry/linux/Backlight.h"
#include "platform/registry/linux/PowerSupply.h"
#include "platform/sleep/linux/LinuxKernelValues.h"
#include "platform/system/SystemLog.h"
#include "platform/system/linux/LinuxDeviceInformation.h"
#include "platform/telephony/linux/LinuxTelephonyServer.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/thermal/linux/LinuxThermal.h"
#include "tests/fuzz/Require.h"

namespace zorva {
namespace {

using Pieces = std::vector<std::string>;

Pieces piecesOf(std::string_view text, char end) {
  Pieces pieces(1);
  for (const char c : text) {
    if (c == end) {
      pieces.emplace_back();
    } else {
      pieces.back() += c;
    }
  }
  return pieces;
}

struct Root : DirectoryForTest {
  Root() { write("proc/7/fd/none", ""); }  // procfs is opened once
};

struct Device : SystemLog {
  void write(std::string_view) override {}
  // Writes the files of a group, each after a blank, with the contents. An empty file is not
  // created.
  void fill(std::string_view group, const Pieces& contents) {
    const Pieces files = piecesOf(group.substr(1), ' ');
    for (std::size_t i = 0; i < files.size(); ++i) {
      const std::string text = i < contents.size() ? contents[i] : std::string();
      const auto [known, first] = held.emplace(files[i], std::string());
      if (first) root.write(files[i], "");  // with its directories
      if (std::exchange(known->second, text) != text) std::ofstream(root / files[i]) << text;
      if (text.empty()) ::unlink((root / files[i]).c_str());
    }
  }

  Root root;
  std::map<std::string, std::string> held;
  LinuxRunLoop loop;
  LinuxSystemNotifications notifications{loop, *this, {root / "run", {}, {}}};
  LinuxThermal thermal{loop.event(), notifications,
                       [&](const std::string& name, LinuxSystemNotifications::StateSource source) {
                         return notifications.provideState(name, std::move(source));
                       },
                       root / "sys/thermal"};
  LinuxDeviceInformation information{nullptr, root / "."};
  LinuxSystemStatistics statistics{root / "proc", root / "sys"};
  LinuxProcessInformation processes{root / "proc"};
};

bool inRange(const TimeValue& time) {
  return time.seconds >= 0 && time.microseconds >= 0 && time.microseconds < 1000000;
}

// Whether every real is finite and every integer has 32 bits.
bool inRange(const Dictionary& figures) {
  return std::all_of(figures.begin(), figures.end(), [](const auto& figure) {
    const Value& value = figure.second;
    return std::isfinite(value.real()) && (!value.isInteger() || value == value.integer32());
  });
}

void checkTexts(const std::string& text) {
  ProcStat stat;
  REQUIRE(!parseProcStat(text, stat) || text.find(stat.command) != text.npos);
  if (const auto inhibitor = parseInhibitorFile(text)) REQUIRE(!inhibitor->what.empty());
  if (const auto application = applicationOfUnit(text)) REQUIRE(!application->empty());
  std::vector<SocketOfInode> sockets;
  for (const bool ipv6 : {false, true}) {
    readSocketTable(text, SocketProtocol::TCP, ipv6, sockets);
  }
  for (const SocketOfInode& each : sockets) {
    REQUIRE(each.inode != 0 && each.socket.soi_kind == kSocketKindTCP);
    REQUIRE(each.socket.tcpsi_state <= tcp::kTimeWait && each.socket.insi_lport <= 0xFFFF);
  }
  // As in a supply's "uevent": one attribute on a line.
  const SysfsAttributes attributes = [&](const std::string& name) -> std::optional<std::string> {
    const std::size_t at = ("\n" + text).find("\n" + name + "=");
    if (at == text.npos) return std::nullopt;
    const std::size_t value = at + name.size() + 1;
    return text.substr(value, text.find('\n', value) - value);
  };
  CurrentSign sign;
  const Battery battery = readBattery(attributes, sign);
  REQUIRE(inRange(powerSourceProperties(battery)));
  REQUIRE(
      inRange(powerSourceProperties(combined(std::vector<Battery>{battery, Battery(), battery}))));
  REQUIRE(backlightBrightness(attributes).value_or(0) >= 0 && backlightRank(attributes) <= 3);
}

constexpr std::string_view kWake =
    " sys/kernel/wakeup_reasons/last_resume_reason sys/power/pm_wakeup_irq"
    " sys/kernel/irq/9/actions sys/kernel/irq/9/chip_name sys/class/wakeup/wakeup0/name"
    " sys/class/wakeup/wakeup0/event_count sys/class/wakeup/wakeup0/last_change_ms"
    " sys/class/wakeup/wakeup0/total_time_ms sys/firmware/acpi/interrupts/gpe17"
    " sys/devices/modem-0/irq proc/cmdline sys/devices/modem-0/power/runtime_status"
    " sys/devices/modem-0/power/runtime_active_time"
    " sys/devices/modem-0/power/runtime_suspended_time";

void checkWake(Device& device) {
  const std::string sysfs = device.root / "sys";
  const std::string modem = sysfs + "/devices/modem-0";
  const WakeEvidence evidence =
      readWakeEvidence(sysfs, WakeupBaseline{{}, {{"gpe17", 0}}, 0}, {modem});
  if (const auto reason = wakeReason(evidence)) {
    REQUIRE(reason->size() <= 255 && safeText(*reason) == *reason);
    REQUIRE(!modemWoke(evidence) || reason->starts_with("baseband "));
  }
  LinuxKernelValues kernel({}, sysfs, device.root / "proc");
  char text[4096 * 4];
  std::size_t size = 0;
  if (kernel.read("kern.bootargs", text, size) == 0) REQUIRE(safeText(text) == text);
  const auto states = readBasebandStates(modem);
  for (const auto& [name, value] : states.value_or(Dictionary())) {
    REQUIRE(value.integer() >= 0 && value.integer() == value.integer32());
  }
}

constexpr std::string_view kProcesses =
    " proc/stat proc/meminfo proc/vmstat proc/loadavg proc/net/dev proc/self/maps proc/7/stat"
    " proc/7/status proc/7/smaps proc/7/cmdline proc/7/comm proc/7/task/7/stat"
    " proc/7/task/8/stat proc/7/task/7/status sys/firmware/memmap/0/start"
    " sys/firmware/memmap/0/end sys/firmware/memmap/0/type sys/block/sda/stat";

void checkProcesses(Device& device) {
  LinuxSystemStatistics& statistics = device.statistics;
  double averages[3] = {};
  statistics.loadAverages(averages);
  for (const double average : averages) REQUIRE(std::isfinite(average) && average >= 0);
  HostCpuLoad load;
  statistics.cpuLoad(load);
  HostVmStatistics memory;
  statistics.vmStatistics(memory);
  SwapUsage swap;
  if (statistics.swapUsage(swap).ok()) REQUIRE(swap.used <= swap.total);
  std::vector<NetworkTotals> interfaces;
  statistics.interfaceTraffic(interfaces);
  std::uint64_t bytes = 0;
  statistics.memorySize(bytes);
  statistics.frameworkMemory(bytes);
  statistics.reservedMemory();
  DiskTotals disk;
  statistics.blockDriverTransfers("sda", disk);
  std::vector<MemoryRegion> regions;
  statistics.memoryRegions(7, regions);
  for (const MemoryRegion& region : regions) REQUIRE(!region.sharedFramework || region.object != 0);
  TaskSample sample;
  if (statistics.sampleTask(7, kEveryTaskDetail, sample).ok()) {
    REQUIRE(sample.process.command.size() <= kCommandLength && !sample.threads.empty());
    REQUIRE(inRange(sample.basic.userTime) && inRange(sample.basic.systemTime));
    REQUIRE(sample.process.startSeconds >= 0);
  }
  char text[64];
  std::size_t length = 0;
  if (statistics.executablePath(7, text, length).ok()) REQUIRE(length <= sizeof text);
  REQUIRE(device.processes.proc_name(7, text).bytes <= static_cast<int>(sizeof text));
}

constexpr std::string_view kSystem =
    " etc/machine-info etc/os-release sys/firmware/devicetree/base/model"
    " sys/class/dmi/id/sys_vendor sys/class/dmi/id/product_name etc/locale.conf"
    " etc/default/locale etc/timezone sys/thermal/thermal_zone0/temp"
    " sys/thermal/thermal_zone0/cdev0_trip_point sys/thermal/thermal_zone0/trip_point_0_type"
    " sys/thermal/thermal_zone0/cdev0/cur_state sys/thermal/thermal_zone0/cdev0/max_state";

void checkSystem(Device& device) {
  for (const char* key : {"UserAssignedDeviceName", "BuildVersion", "HWModelStr"}) {
    const std::string text = device.information.answer(key).text().value_or("");
    REQUIRE(safeText(text) == text);
    REQUIRE(key[0] != 'U' || (text.size() <= 200 && text.find('/') == text.npos));
  }
  const std::string etc = device.root / "etc/";
  const LocalePaths paths{etc + "locale.conf", etc + "default/locale", etc + "localtime",
                          etc + "timezone", etc + "zoneinfo"};
  for (const std::string& name : {readLocaleIdentifier(paths), readTimeZone(paths)}) {
    REQUIRE(!name.empty() && name.size() <= 64 && safeText(name) == name);
  }
  const std::int32_t level = device.thermal.level();
  REQUIRE(level >= 0 && level <= 100);
  REQUIRE(device.notifications.state(kThermalSensorValues[0]).value_or(0) <= 0xFFFF);
}

}  // namespace
}  // namespace zorva

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zorva;
  static Device device;
  static const std::pair<std::string_view, void (*)(Device&)> groups[] = {
      {kWake, checkWake}, {kProcesses, checkProcesses}, {kSystem, checkSystem}};
  if (size == 0) return 0;
  const Pieces pieces = piecesOf({reinterpret_cast<const char*>(data) + 1, size - 1}, '\0');
  if (data[0] % 4 == 3) {
    for (const std::string& piece : pieces) checkTexts(piece);
  } else {
    const auto& [files, check] = groups[data[0] % 4];
    device.fill(files, pieces);
    check(device);
  }
  return 0;
}
