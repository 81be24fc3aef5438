// SPDX-License-Identifier: Apache-2.0
#include "platform/energy/linux/LinuxEnergyCounters.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <string_view>
#include <time.h>
#include <unistd.h>
#include <utility>

#include "platform/base/Text.h"
#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxCounters = 64;

// The same packages as those of "intel-rapl", read through other registers.
constexpr std::string_view kSecondView = "intel-rapl-mmio";

// "intel-rapl:0" of "intel-rapl:0:1"; empty for a zone that lies in no other.
std::string zoneAround(const std::string& zone) {
  const std::size_t last = zone.rfind(':');
  return last != zone.npos && zone.find(':') != last ? zone.substr(0, last) : "";
}

fs::path canonical(const std::string& path) {
  std::error_code error;
  return fs::canonical(path, error);
}

// Whether a reading would have to resume the device first: the device itself, or one on the way to
// it that is switched off as a whole. The kernel's bus objects in between count as suspended while
// all below them works.
bool isSuspended(const fs::path& device) {
  for (fs::path at = device; at.has_relative_path(); at = at.parent_path()) {
    const std::string bus = canonical((at / "subsystem").string()).filename().string();
    if (at != device && bus != "pci" && bus != "usb") continue;
    const std::string status = readAttribute((at / "power/runtime_status").string()).value_or("");
    if (status == "suspended" || status == "suspending") return true;
  }
  return false;
}

double secondsAwake() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);  // stands still while the system sleeps
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace

struct LinuxEnergyCounters::Found {
  Counter counter;
  std::string qualified;  ///< its name where another counter has the same
};

LinuxEnergyCounters::LinuxEnergyCounters(SystemLog& systemLog, std::string powercap,
                                         std::string hwmon)
    : systemLog_(systemLog), powercap_(std::move(powercap)), hwmon_(std::move(hwmon)) {}

EnergyCounters::Reading LinuxEnergyCounters::read() {
  std::vector<Found> found;
  readZones(found);
  readSensors(found);
  std::map<std::string, int> times;
  for (const Found& each : found) ++times[each.counter.name];
  Reading reading{secondsAwake(), {}};
  std::set<std::string> names;
  for (Found& each : found) {
    if (times[each.counter.name] > 1) each.counter.name = each.qualified;
    while (!names.insert(each.counter.name).second) each.counter.name += "@" + each.counter.id;
    reading.counters.push_back(std::move(each.counter));
  }
  return reading;
}

void LinuxEnergyCounters::readZones(std::vector<Found>& found) {
  std::map<std::string, std::string> names;  // of the zones so far, each after the one around it
  for (const std::string& zone : entryNames(powercap_)) {
    if (zone.starts_with(kSecondView) || found.size() == kMaxCounters) continue;
    const std::string directory = powercap_ + "/" + zone;
    Counter counter{zone, readAttribute(directory + "/name").value_or(""), {}, 0};
    if (counter.name.empty()) counter.name = zone;
    names[zone] = counter.name;
    if (!readInto(counter, directory + "/energy_uj")) continue;
    const auto range = readNumber(directory + "/max_energy_range_uj");
    if (range && *range > 0) counter.range = static_cast<std::uint64_t>(*range);
    const auto around = names.find(zoneAround(zone));
    std::string qualified =
        around != names.end() ? around->second + "." + counter.name : counter.name + "@" + zone;
    found.push_back({std::move(counter), std::move(qualified)});
  }
}

void LinuxEnergyCounters::readSensors(std::vector<Found>& found) {
  for (const std::string& chip : entryNames(hwmon_)) {
    const std::string directory = hwmon_ + "/" + chip + "/";
    std::vector<std::string> sensors;
    for (const std::string& name : entryNames(directory)) {
      if (name.starts_with("energy") && name.ends_with("_input")) {
        sensors.push_back(name.substr(0, name.size() - std::strlen("_input")));
      }
    }
    if (sensors.empty()) continue;
    fs::path device = canonical(directory + "device");
    if (device.empty()) device = canonical(directory);
    const std::string driver = readAttribute(directory + "name").value_or(chip);
    const bool suspended = isSuspended(device);
    for (const std::string& sensor : sensors) {
      if (found.size() == kMaxCounters) return;
      const std::string name =
          driver + "." + readAttribute(directory + sensor + "_label").value_or(sensor);
      Counter counter{device.string() + "/" + driver + "/" + sensor, name, {}, 0};
      if (!suspended && !readInto(counter, directory + sensor + "_input")) continue;
      found.push_back({std::move(counter), name + "@" + device.filename().string()});
    }
  }
}

// False where there is no such counter for this user.
bool LinuxEnergyCounters::readInto(Counter& counter, const std::string& path) {
  const auto text = readAttribute(path);
  const int error = errno;
  if (text) {
    counter.used = parseNumber<std::uint64_t>(*text);
    return true;
  }
  if (error != EACCES && error != EPERM) return error != ENOENT && error != ENOTDIR;
  if (!std::exchange(refusalReported_, true)) {
    systemLog_.write(
        formatText("Cannot read '%s': %s. Run zorva as root to log the processor's energy",
                   path.c_str(), std::strerror(error)));
  }
  return false;
}

}  // namespace zorva
