// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/accessories/sim/SimAccessoryManager.h"
#include "platform/applications/sim/SimApplicationStates.h"
#include "platform/assemble/Platform.h"
#include "platform/assemble/SimPowerModel.h"
#include "platform/assertions/sim/SimPowerManagement.h"
#include "platform/audio/sim/SimAudioSystem.h"
#include "platform/bluetooth/sim/SimBluetoothServer.h"
#include "platform/energy/sim/SimEnergyCounters.h"
#include "platform/locale/LocalDateFormatting.h"
#include "platform/locale/LocalTime.h"
#include "platform/locale/sim/SimLocaleInformation.h"
#include "platform/location/sim/SimLocationService.h"
#include "platform/loop/sim/SimClock.h"
#include "platform/loop/sim/SimRunLoop.h"
#include "platform/notifications/sim/SimSystemNotifications.h"
#include "platform/processes/sim/SimProcessInformation.h"
#include "platform/processes/sim/SimProcessTable.h"
#include "platform/processes/sim/SimSystemStatistics.h"
#include "platform/push/sim/SimAccountSync.h"
#include "platform/push/sim/SimPersistentConnections.h"
#include "platform/push/sim/SimPushService.h"
#include "platform/reachability/sim/SimReachability.h"
#include "platform/registry/sim/SimBacklight.h"
#include "platform/registry/sim/SimBattery.h"
#include "platform/registry/sim/SimDeviceRegistry.h"
#include "platform/scenario/SimFaults.h"
#include "platform/schedule/sim/SimScheduledPowerEvents.h"
#include "platform/sleep/sim/SimKernelValues.h"
#include "platform/sleep/sim/SimSuspendRecords.h"
#include "platform/sleep/sim/SimSystemPower.h"
#include "platform/storage/sim/SimFileSystem.h"
#include "platform/storage/sim/SimPreferences.h"
#include "platform/syslog/sim/SimSystemLogQueries.h"
#include "platform/system/sim/SimAccountDatabase.h"
#include "platform/system/sim/SimBatteryUsage.h"
#include "platform/system/sim/SimDeviceInformation.h"
#include "platform/system/sim/SimProcessIdentity.h"
#include "platform/system/sim/SimProfileSettings.h"
#include "platform/system/sim/SimSystemLog.h"
#include "platform/telephony/sim/SimTelephony.h"
#include "platform/telephony/sim/SimTelephonyNotifications.h"
#include "platform/telephony/sim/SimTelephonySection.h"
#include "platform/telephony/sim/SimTelephonyServer.h"
#include "platform/thermal/sim/SimThermal.h"
#include "platform/traffic/sim/SimNetworkInterfaces.h"
#include "platform/wifi/sim/SimWiFiDriver.h"
#include "platform/wifi/sim/SimWiFiManager.h"
#include "platform/work/sim/SimWorkUnits.h"

namespace zorva {

/// The root directory of a handset's files. The directories of logs and of preferences are created
/// in it.
class SimRoot {
 public:
  /// A temporary directory, removed with its contents at the end.
  SimRoot();
  /// A directory that is kept. Throws std::filesystem::filesystem_error if it cannot be created.
  explicit SimRoot(const std::filesystem::path& directory);
  SimRoot(const SimRoot&) = delete;
  SimRoot& operator=(const SimRoot&) = delete;
  ~SimRoot();

  const std::filesystem::path& path() const { return path_; }

 private:
  void makeDirectories() const;

  std::filesystem::path path_;
  bool temporary_;
};

/// A whole handset in virtual time, healthy at first: a battery at 80 % with a gas gauge, the name
/// "Sim Phone", locale en_US, zone UTC, 2026-11-16 14:00:00, the user "mobile" with the ids of the
/// user who runs the program, the interfaces lo0, en0 and pdp_ip0, a few processes, no boot
/// arguments, a display at half brightness, auto-lock after a minute, three thermal sensors, and a
/// modem that is registered with its home operator "Sim Mobile".
class SimHandset {
 public:
  static constexpr Date kStart =
      Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 16)) + std::chrono::hours(14);

  /// Keeps its files in a temporary directory.
  SimHandset() : SimHandset(std::make_unique<SimRoot>()) {}
  explicit SimHandset(std::unique_ptr<SimRoot> root);
  ~SimHandset();

  const Platform& platform() const { return platform_; }
  const std::filesystem::path& root() const { return root_->path(); }

  SimFaults& faults() { return parts_.faults; }
  const ScenarioSections& sections() const { return parts_.sections; }
  SimClock& clock() { return clock_; }
  SimRunLoop& runLoop() { return runLoop_; }
  SimSystemLog& systemLog() { return systemLog_; }
  SimSystemNotifications& notifications() { return notifications_; }
  SimFileSystem& files() { return files_; }
  SimAccountDatabase& accounts() { return accounts_; }
  SimPreferences& preferences() { return preferences_; }
  SimDeviceInformation& device() { return device_; }
  SimLocaleInformation& locale() { return locale_; }
  SimDeviceRegistry& registry() { return registry_; }
  SimBattery& battery() { return battery_; }
  SimBacklight& backlight() { return backlight_; }
  SimBatteryUsage& batteryUsage() { return batteryUsage_; }
  SimPowerManagement& powerManagement() { return powerManagement_; }
  SimProcessTable& processes() { return processes_; }
  SimSystemStatistics& statistics() { return statistics_; }
  SimNetworkInterfaces& interfaces() { return interfaces_; }
  SimSystemPower& systemPower() { return systemPower_; }
  SimScheduledPowerEvents& scheduledEvents() { return scheduledEvents_; }
  SimKernelValues& kernel() { return kernel_; }
  SimProcessInformation& processInformation() { return processInformation_; }
  SimThermal& thermal() { return thermal_; }
  SimProfileSettings& profile() { return profile_; }
  SimTelephonyServer& telephonyServer() { return telephonyServer_; }
  SimTelephony& telephony() { return telephony_; }
  SimTelephonyNotifications& telephonyNotifications() { return telephonyNotifications_; }
  SimWiFiManager& wifi() { return wifi_; }
  SimWiFiDriver& wifiDriver() { return wifiDriver_; }
  SimBluetoothServer& bluetooth() { return bluetooth_; }
  SimReachability& reachability() { return reachability_; }
  SimAudioSystem& audio() { return audio_; }
  SimPushService& push() { return push_; }
  SimApplicationStates& applications() { return applications_; }
  SimPersistentConnections& persistentConnections() { return persistentConnections_; }
  SimProcessIdentity& identity() { return identity_; }
  SimAccountSync& accountSync() { return accountSync_; }
  SimLocationService& location() { return location_; }
  SimAccessoryManager& accessories() { return accessories_; }
  SimSystemLogQueries& systemLogQueries() { return systemLogQueries_; }
  SimSuspendRecords& suspendRecords() { return suspendRecords_; }
  SimEnergyCounters& energy() { return energy_; }
  SimWorkUnits& work() { return work_; }
  SimPowerModel& powerModel() { return powerModel_; }

 private:
  void makeHealthy();
  bool actsAsMobile();

  // Each service follows those that it uses, so that it is destroyed before them.
  std::unique_ptr<SimRoot> root_;
  SimParts parts_;
  SimClock clock_{kStart};
  SimRunLoop runLoop_{parts_, clock_};
  SimSystemLog systemLog_;
  SimSystemNotifications notifications_{parts_};
  SimFileSystem files_{parts_, root_->path().string(), systemLog_};
  SimAccountDatabase accounts_{parts_};
  SimPreferences preferences_{parts_, files_, accounts_, systemLog_};
  SimDeviceInformation device_{parts_};
  SimLocaleInformation locale_{parts_, clock_, [this](Date date) { clock_.set(date); }};
  LocalDateFormatting dates_{
      [this]() -> const DateSettings& { return locale_.settings(); },
      [this](Date date) { return localTimeIn(locale_.settings().zone, date); }};
  SimDeviceRegistry registry_{parts_};
  SimBattery battery_{parts_, registry_.powerSource()};
  SimBacklight backlight_{parts_, registry_.backlight()};
  SimBatteryUsage batteryUsage_{parts_};
  SimPowerManagement powerManagement_{parts_, clock_, notifications_};
  SimSystemStatistics statistics_{parts_.faults, clock_};
  SimProcessTable processes_{parts_, statistics_};
  SimNetworkInterfaces interfaces_{parts_};
  SimKernelValues kernel_{parts_};
  SimSystemPower systemPower_{parts_, runLoop_, systemLog_, kernel_};
  SimScheduledPowerEvents scheduledEvents_{parts_};
  SimProcessInformation processInformation_{parts_.faults, processes_};
  SimThermal thermal_{parts_,
                      notifications_,
                      {[this](const std::string& name) { return notifications_.stateAsSet(name); },
                       [this](const std::string& name, std::uint64_t state) {
                         notifications_.setState(name, state);
                       }}};
  SimProfileSettings profile_{parts_};
  SimTelephonyNotifications telephonyNotifications_;
  SimTelephony telephony_{parts_, telephonyNotifications_};
  SimTelephonyServer telephonyServer_{parts_, runLoop_, telephonyNotifications_};
  SimTelephonySection telephonySection_{parts_, telephony_, telephonyServer_,
                                        telephonyNotifications_};
  SimWiFiManager wifi_{parts_};
  SimWiFiDriver wifiDriver_{parts_};
  SimBluetoothServer bluetooth_{parts_, runLoop_};
  SimReachability reachability_{parts_};
  SimAudioSystem audio_{parts_};
  SimPushService push_{parts_, notifications_};
  SimApplicationStates applications_{parts_};
  SimProcessIdentity identity_{parts_};
  SimPersistentConnections persistentConnections_{parts_, clock_, [this] { return actsAsMobile(); },
                                                  notifications_};
  SimAccountSync accountSync_{parts_, notifications_};
  SimLocationService location_{parts_, notifications_};
  SimAccessoryManager accessories_{parts_};
  SimSystemLogQueries systemLogQueries_{parts_, clock_};
  SimSuspendRecords suspendRecords_{parts_,
                                    [this] { return clock_.elapsed() - powerModel_.awake(); }};
  SimEnergyCounters energy_{
      parts_, [this] { return std::chrono::duration<double>(powerModel_.awake()).count(); }};
  SimWorkUnits work_{parts_};
  SimPowerModel powerModel_{parts_,
                            {runLoop_, battery_, backlight_, processes_, interfaces_, systemPower_,
                             telephony_, audio_, energy_}};
  Registration cpuTimeOfUnits_;
  Platform platform_;
};

}  // namespace zorva
