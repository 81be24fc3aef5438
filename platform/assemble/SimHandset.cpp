// SPDX-License-Identifier: Apache-2.0
#include "platform/assemble/SimHandset.h"

#include <stdlib.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace zorva {
namespace {

namespace fs = std::filesystem;

fs::path makeTemporaryDirectory() {
  std::string name = (fs::temp_directory_path() / "zorva-sim.XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) {
    throw fs::filesystem_error("cannot create a temporary directory", name,
                               std::error_code(errno, std::generic_category()));
  }
  return name;
}

}  // namespace

SimRoot::SimRoot() : path_(makeTemporaryDirectory()), temporary_(true) {
  makeDirectories();
}

SimRoot::SimRoot(const fs::path& directory) : path_(fs::absolute(directory)), temporary_(false) {
  makeDirectories();
}

SimRoot::~SimRoot() {
  std::error_code ignored;
  if (temporary_) fs::remove_all(path_, ignored);
}

void SimRoot::makeDirectories() const {
  fs::create_directories(path_ / (kLogDirectory + 1));
  fs::create_directories(path_ / "var/mobile/Library/Preferences");
}

SimHandset::SimHandset(std::unique_ptr<SimRoot> root)
    : root_(std::move(root)),
      platform_{runLoop_,
                clock_,
                systemLog_,
                notifications_,
                files_,
                accounts_,
                preferences_,
                device_,
                dates_,
                locale_,
                registry_,
                batteryUsage_,
                powerManagement_,
                processes_,
                interfaces_,
                statistics_,
                systemPower_,
                scheduledEvents_,
                kernel_,
                processInformation_,
                thermal_,
                profile_,
                telephonyServer_,
                telephony_,
                telephonyNotifications_,
                wifi_,
                wifiDriver_,
                bluetooth_,
                reachability_,
                audio_,
                push_,
                applications_,
                persistentConnections_,
                identity_,
                accountSync_,
                location_,
                accessories_,
                systemLogQueries_,
                suspendRecords_,
                energy_,
                work_} {
  cpuTimeOfUnits_ = processes_.observeCpuTime(
      [this](pid_t, const SimProcess& process, std::chrono::microseconds time) {
        if (!process.unit.empty()) work_.addCpuTime(process.unit, time);
      });
  makeHealthy();
  parts_.addFaultSections();
}

SimHandset::~SimHandset() = default;

bool SimHandset::actsAsMobile() {
  const auto mobile = accounts_.idsAsSet("mobile");
  return identity_.effectiveUser() ==
         (mobile ? mobile->user : SimPersistentConnections::kUsualOwner);
}

void SimHandset::makeHealthy() {
  accounts_.setUser("mobile", {::geteuid(), ::getegid()});
  device_.setAnswer("UserAssignedDeviceName", "Sim Phone");
  device_.setAnswer("gas-gauge-battery", true);
  device_.setAnswer("BuildVersion", "5C104");
  device_.setAnswer("HWModelStr", "LB20");
  device_.setAnswer("InverseDeviceID", "3d5f1b60c8e2497a");
  kernel_.setText("kern.bootargs", "");
  profile_.setEffectiveValue(kAutoLockTime, 60);
  preferences_.setFactoryValue({"com.vennor.lumbrel", "mobile"}, "LBBacklightLevel2", 0.5);
  batteryUsage_.setTimes(BatteryUsage::Times{3725.0F, 86400.0F});
  interfaces_.setInterface({.name = "lo0", .loopback = true, .networkAddresses = 1});
  interfaces_.setInterface({.name = "en0", .counters = {123456, 7890}, .networkAddresses = 1});
  interfaces_.setInterface({.name = "pdp_ip0", .counters = {0, 0}});
  processes_.setProcess(1, "init", 12.0);
  processes_.setProcess(23, "configurator", 4.25);
  processes_.setProcess(45, "mediad", 95.5);
  processes_.setProcess(61, "Homescreen", 311.0);

  const auto word = [](std::string_view prefix, const char* name) {
    return std::string(prefix) + name;
  };
  telephony_.setSignal({-85, 60, 3});
  telephony_.setSimStatus(word(telephony::kSimStatus, "Ready"));
  telephony_.setNetwork({word(telephony::kRegistrationStatusPrefix, "RegisteredHome"), true});
  telephony_.setData({true, false, word(telephony::kDataIndicatorPrefix, "3G")});
  telephony_.setOperatorName("Sim Mobile");
  telephonyServer_.setRatSelection(rat::kUTRAN);
  telephonyServer_.setFirmwareVersion("1.0.0");
  telephonyServer_.setStateDurations({{word(telephony::kBasebandStatePrefix, "Sleep"), 3540000},
                                      {word(telephony::kBasebandStatePrefix, "Idle"), 45000},
                                      {word(telephony::kBasebandStatePrefix, "Active"), 15000}});
}

}  // namespace zorva
