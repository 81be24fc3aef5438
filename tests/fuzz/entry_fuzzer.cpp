// SPDX-License-Identifier: Apache-2.0
// What the kernel counts of sleeps, energy and control groups may be anything, and users name their
// control groups. For any figures and names, now and later, each entry is one line that the log's
// reader reads back, and its figures are in range.
//
// An input is a byte for the kind, and texts divided by NUL bytes: the contents of the kind's files
// before, then after (an empty one stays as it was); or the steps that make control groups.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <sys/mman.h>

#include "core/NotificationCenter.h"
#include "loggers/ZVEnergyLogger.h"
#include "loggers/ZVSuspendLogger.h"
#include "loggers/ZVWorkLogger.h"
#include "platform/applications/linux/ApplicationUnits.h"
#include "platform/assemble/SimHandset.h"
#include "platform/base/Text.h"
#include "platform/energy/linux/LinuxEnergyCounters.h"
#include "platform/sleep/linux/LinuxSuspendRecords.h"
#include "platform/sleep/linux/SleepRecord.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/work/linux/LinuxWorkUnits.h"
#include "report/read/LogReader.h"
#include "tests/fuzz/Require.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

using Texts = std::vector<std::string>;

Texts textsOf(std::string_view input) {
  Texts texts(1);
  for (const char c : input) c == '\0' ? texts.emplace_back() : texts.back() += c;
  return texts;
}

struct Device : SystemPower {
  Registered registerForSystemPower(Handler heard) override {
    handler = std::move(heard);
    return {1, 1, nullptr};
  }
  void allowPowerChange(std::uint32_t, std::intptr_t) override {}
  void deregisterForSystemPower(std::uint32_t&) override {}
  void closeConnection(std::uint32_t) override {}
  void wake(bool slept) {
    const auto type = slept ? PowerMessage::HasPoweredOn : PowerMessage::WillNotSleep;
    handler(static_cast<std::uint32_t>(type), 0);
  }

  ZVLogger::Services services() {
    return {handset.platform().clock, *dates, handset.systemLog(), handset.notifications(),
            notifications};
  }
  // Files that a text is for; an empty one is not created.
  void fill(std::string_view names, Texts::const_iterator& at, Texts::const_iterator end) {
    while (!names.empty()) {
      const std::string name(names.substr(1, names.find(' ', 1) - 1));
      names.remove_prefix(name.size() + 1);
      if (at == end) return;
      const std::string& contents = *at++;
      if (!contents.empty()) root.write("device/" + name, contents);
    }
  }
  // The entries that the action makes the logger write. `harmless` names have no "=" and ";".
  std::vector<std::map<std::string, LogField>> entries(ZVLogger& logger, bool harmless,
                                                       const std::function<void()>& action) {
    logger.setLogFile(&stream);
    logger.setEnabled(true);
    action();
    stream.flush();
    text.resize(1 << 20);
    const ssize_t size = ::pread(stream.descriptor(), text.data(), text.size(), 0);
    REQUIRE(size >= 0 && size < std::ssize(text));
    text.resize(static_cast<std::size_t>(size));
    REQUIRE(::ftruncate(stream.descriptor(), 0) == 0 &&
            ::lseek(stream.descriptor(), 0, SEEK_SET) == 0);
    reader.begin(readFrom(text));
    LogRecord record;
    std::vector<std::map<std::string, LogField>> all;
    while (reader.next(record)) {
      REQUIRE(record.piece == LogPiece::Entry && record.lines == 1 && record.format != nullptr);
      const std::string_view line = record.raw.substr(0, record.raw.size() - 1);
      REQUIRE(safeText(line) == line);
      if (record.category == "Zorva") continue;  // the source has gone
      REQUIRE(line.ends_with(';'));
      std::vector<LogField> fields;
      splitFields(record, fields);
      all.emplace_back();
      for (const LogField& field : fields) {
        REQUIRE(!harmless || field.isWellFormed());
        all.back().emplace(field.key, field);
      }
    }
    return all;
  }

  DirectoryForTest root;
  SimHandset handset;
  NotificationCenter notifications;
  std::unique_ptr<DateFormatter> dates =
      handset.platform().dates.makeFormatter(ZVLogger::kEntryDatePattern);
  LogStream stream{::memfd_create("log", MFD_CLOEXEC), LogStream::Ownership::Owned};
  std::string text;
  LogReader reader;
  Handler handler;
};

constexpr std::string_view kSleep =
    " power/mem_sleep power/suspend_stats/success power/suspend_stats/fail"
    " power/suspend_stats/failed_suspend power/suspend_stats/failed_freeze"
    " power/suspend_stats/last_failed_step power/suspend_stats/last_failed_dev"
    " power/suspend_stats/last_failed_errno power/suspend_stats/total_hw_sleep"
    " power/suspend_stats/max_hw_sleep"
    " devices/system/cpu/cpuidle/low_power_idle_system_residency_us"
    " class/wakeup/wakeup0/name class/wakeup/wakeup0/event_count"
    " class/wakeup/wakeup0/prevent_suspend_time_ms class/wakeup/wakeup12/name"
    " class/wakeup/wakeup12/event_count class/wakeup/wakeup12/prevent_suspend_time_ms";

void checkSleep(Device& device, const Texts& texts, bool harmless) {
  const std::string sysfs = device.root / "device";
  auto text = texts.begin();
  std::int64_t slept = 0;
  device.fill(kSleep, text, texts.end());
  LinuxSuspendRecords records(sysfs, [&] { return slept; });
  const auto totals = records.read();
  const SleepRecord before = readSleepRecord(sysfs, slept);
  const auto logger = ZVSuspendLogger::logger(device.services(), records, device);
  REQUIRE((logger != nullptr) == totals.has_value());
  if (!totals) return;
  REQUIRE(totals->failures >= 0 && totals->lastFailedError >= 0);
  REQUIRE(totals->inHardware.value_or(std::chrono::microseconds()).count() >= 0);
  for (const auto& source : totals->sources) {
    REQUIRE(source.events >= 0 && source.blocked.count() >= 0);
  }
  device.fill(kSleep, text, texts.end());
  slept = text == texts.end() ? 90'000'000'000 : std::ssize(*text) * 1'000'000'000'000;
  const SleepResult result = sleepResult(before, readSleepRecord(sysfs, slept));
  REQUIRE(result == SleepResult::Slept || slept < 2'000'000'000);
  for (const bool well : {true, false}) {
    const auto entries = device.entries(*logger, harmless, [&] { device.wake(well); });
    REQUIRE(entries.empty() == !records.read());
    if (entries.empty()) continue;
    REQUIRE(entries.front().at("asleep").seconds().value_or(-1) ==
            (well ? slept / 1'000'000'000 : 0));
    const auto& hardware = entries.front().at("hardware");
    REQUIRE(hardware.value == "<unknown>" || hardware.seconds().value_or(-1) >= 0);
  }
}

constexpr std::string_view kEnergy =
    " powercap/intel-rapl/enabled powercap/intel-rapl:0/name powercap/intel-rapl:0/energy_uj"
    " powercap/intel-rapl:0/max_energy_range_uj powercap/intel-rapl:0:0/name"
    " powercap/intel-rapl:0:0/energy_uj powercap/intel-rapl:0:0/max_energy_range_uj"
    " powercap/intel-rapl:1/name powercap/intel-rapl:1/energy_uj"
    " powercap/intel-rapl:1:0/name powercap/intel-rapl:1:0/energy_uj"
    " hwmon/hwmon0/name hwmon/hwmon0/energy1_label hwmon/hwmon0/energy1_input"
    " hwmon/hwmon0/energy2_label hwmon/hwmon0/energy2_input"
    " hwmon/hwmon0/power/runtime_status hwmon/hwmon1/name hwmon/hwmon1/energy1_input";

void checkEnergy(Device& device, const Texts& texts, bool harmless) {
  auto text = texts.begin();
  device.fill(kEnergy, text, texts.end());
  LinuxEnergyCounters counters(device.handset.systemLog(), device.root / "device/powercap",
                               device.root / "device/hwmon");
  const auto logger = ZVEnergyLogger::logger(device.services(), counters);
  for (int i = 0; logger != nullptr && i < 2; ++i) {
    std::set<std::string> names, ids;
    for (const auto& counter : counters.read().counters) {
      REQUIRE(names.insert(counter.name).second && ids.insert(counter.id).second);
    }
    for (const auto& fields : device.entries(*logger, harmless, [&] { logger->logIfEnabled(); })) {
      for (const auto& [name, field] : fields) {
        const auto now = field.real();
        if (!harmless || !now || name == "restarted" || name == "at_least") continue;
        REQUIRE(std::isfinite(*now) && *now >= 0 && (*now == 0 || i > 0));
      }
    }
    device.fill(kEnergy, text, texts.end());
  }
}

// Each text is a step: "/NAME" makes a group in the current one and enters it, ".." leaves it, any
// other is the contents of a file of it.
void makeGroups(const std::string& root, const Texts& texts) {
  fs::path at = root;
  fs::create_directories(at);
  for (const std::string& step : texts) {
    if (step == "..") {
      if (at != root) at = at.parent_path();
    } else if (step.starts_with('/')) {
      std::string name = step.substr(1, 200);
      std::ranges::replace(name, '/', '!');
      if (name.empty() || name == "." || name == "..") continue;
      std::error_code error;
      if (fs::create_directory(at / name, error) || fs::is_directory(at / name)) at /= name;
    } else {
      const char* const name = step.starts_with("usage") ? "cpu.stat"
                               : step.starts_with("pop") ? "cgroup.events"
                                                         : "cgroup.procs";
      std::ofstream(at / name) << step;
    }
  }
}

void checkGroups(Device& device, const Texts& texts, bool harmless) {
  const std::string root = device.root / "device/groups";
  makeGroups(root, texts);
  LinuxWorkUnits work(root);
  if (const auto units = work.units()) {
    std::set<std::string> names;
    for (const auto& unit : *units) {
      REQUIRE(unit.used.count() >= 0 && !unit.name.empty());
      REQUIRE(names.insert(unit.name).second);
    }
    const auto logger = ZVWorkLogger::logger(device.services(), work);
    REQUIRE(logger != nullptr);
    device.entries(*logger, harmless, [&] { logger->logIfEnabled(); });
  }
  for (const auto& [directory, unit] : readApplicationUnits(
           root, [&](const std::string&path, bool) { REQUIRE(path.starts_with(root)); })) {
    REQUIRE(directory.starts_with(root) && !unit.application.empty());
    for (const std::int32_t process : unit.processes) REQUIRE(process >= 0);
  }
}

}  // namespace
}  // namespace zorva

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zorva;
  static Device device;
  static constexpr void (*kChecks[])(Device&, const Texts&, bool) = {checkSleep, checkEnergy,
                                                                     checkGroups};
  if (size == 0) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
  kChecks[data[0] % 3](device, textsOf(input), input.find_first_of("=;<") == input.npos);
  device.handset.systemLog().takeLines();
  std::filesystem::remove_all(device.root / "device");
  return 0;
}
