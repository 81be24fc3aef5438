// SPDX-License-Identifier: Apache-2.0
#include "platform/assemble/LinuxPlatform.h"

#include <systemd/sd-daemon.h>

#include "platform/absent/LinuxAccountSync.h"
#include "platform/absent/LinuxBatteryUsage.h"
#include "platform/absent/LinuxPersistentConnections.h"
#include "platform/absent/LinuxPushService.h"
#include "platform/accessories/linux/LinuxAccessoryManager.h"
#include "platform/applications/linux/LinuxApplicationStates.h"
#include "platform/assertions/linux/LinuxPowerManagement.h"
#include "platform/audio/linux/LinuxAudioSystem.h"
#include "platform/bluetooth/linux/LinuxBluetoothServer.h"
#include "platform/energy/linux/LinuxEnergyCounters.h"
#include "platform/kit/bus/LinuxBus.h"
#include "platform/locale/LocalDateFormatting.h"
#include "platform/locale/LocalTime.h"
#include "platform/locale/linux/LinuxLocaleInformation.h"
#include "platform/location/linux/LinuxLocationService.h"
#include "platform/loop/linux/LinuxClock.h"
#include "platform/loop/linux/LinuxRunLoop.h"
#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/processes/linux/LinuxProcessInformation.h"
#include "platform/processes/linux/LinuxProcessTable.h"
#include "platform/processes/linux/LinuxSystemStatistics.h"
#include "platform/reachability/linux/LinuxReachability.h"
#include "platform/registry/linux/LinuxDeviceRegistry.h"
#include "platform/schedule/linux/LinuxScheduledPowerEvents.h"
#include "platform/sleep/linux/LinuxKernelValues.h"
#include "platform/sleep/linux/LinuxSuspendRecords.h"
#include "platform/sleep/linux/LinuxSystemPower.h"
#include "platform/sleep/linux/WakeTexts.h"
#include "platform/storage/PosixFileSystem.h"
#include "platform/storage/PropertyListPreferences.h"
#include "platform/syslog/linux/LinuxSystemLogQueries.h"
#include "platform/system/linux/LinuxAccountDatabase.h"
#include "platform/system/linux/LinuxDeviceInformation.h"
#include "platform/system/linux/LinuxProcessIdentity.h"
#include "platform/system/linux/LinuxProfileSettings.h"
#include "platform/system/linux/LinuxSystemLog.h"
#include "platform/telephony/linux/LinuxTelephony.h"
#include "platform/telephony/linux/LinuxTelephonyNotifications.h"
#include "platform/telephony/linux/LinuxTelephonyServer.h"
#include "platform/telephony/linux/ModemManagerClient.h"
#include "platform/telephony/linux/SignalPause.h"
#include "platform/thermal/linux/LinuxThermal.h"
#include "platform/traffic/linux/LinuxNetworkInterfaces.h"
#include "platform/wifi/linux/LinuxWiFiDriver.h"
#include "platform/wifi/linux/LinuxWiFiManager.h"
#include "platform/work/linux/LinuxWorkUnits.h"

namespace zorva {
namespace {

class WholeLinuxPlatform : public LinuxPlatform {
 public:
  WholeLinuxPlatform() {
    telephonyServer_.setWakeText([this] { return wakeTexts_.text(); });
  }
  WholeLinuxPlatform(const WholeLinuxPlatform&) = delete;
  WholeLinuxPlatform& operator=(const WholeLinuxPlatform&) = delete;
  ~WholeLinuxPlatform() override { bus_.leaveMatches(); }
  const Platform& platform() const override { return platform_; }

 private:
  // Each service follows those that it uses, so that it is destroyed before them.
  LinuxRunLoop runLoop_;
  LinuxClock clock_;
  LinuxSystemLog systemLog_{runLoop_};
  LinuxSystemNotifications systemNotifications_{runLoop_, systemLog_};
  PosixFileSystem files_;
  LinuxAccountDatabase accounts_;
  PropertyListPreferences preferences_{files_, accounts_, systemLog_};
  LinuxBus bus_{runLoop_.event()};
  LinuxDeviceRegistry registry_{runLoop_.event(), &bus_};
  LinuxDeviceInformation device_{[this] { return Value(registry_.hasGasGauge()); }};
  LinuxLocaleInformation locale_{runLoop_.event(), clock_};
  LocalDateFormatting dates_{[this]() -> const DateSettings& { return locale_.settings(); },
                             localTime};
  LinuxBatteryUsage batteryUsage_;
  LinuxPowerManagement powerManagement_{runLoop_.event(), bus_, clock_,
                                        [this] { systemNotifications_.post(kAssertionsChanged); }};
  LinuxProcessTable processes_;
  LinuxNetworkInterfaces interfaces_;
  LinuxSystemStatistics statistics_;
  ModemManagerClient modemManager_{runLoop_.event(), bus_};
  LinuxKernelValues kernel_{[this] { return modemManager_.modemDevices(); }};
  WakeTexts wakeTexts_{runLoop_, runLoop_.event()};
  bool modemWoke_ = false;
  LinuxSystemPower systemPower_{
      runLoop_.event(),
      bus_,
      {[this] {
         registry_.systemWillSleep();
         kernel_.systemWillSleep();
         wakeTexts_.sleepBegins(modemManager_.mobileInterfaces());
       },
       [this](bool prepared) {
         modemWoke_ = kernel_.systemDidWake(prepared);
         // What the modem reports from now on can still be heard.
         if (!prepared) wakeTexts_.sleepBegins({});
       },
       [this](std::function<void()> proceed) { wakeTexts_.awake(modemWoke_, std::move(proceed)); },
       [this] {
         wakeTexts_.reset();
         registry_.systemDidWake();
       }}};
  SignalPause signalPause_{runLoop_.event(), systemPower_, modemManager_};
  LinuxScheduledPowerEvents scheduledEvents_{bus_, clock_};
  LinuxProcessInformation processInformation_;
  LinuxThermal thermal_{
      runLoop_.event(), systemNotifications_,
      [this](const std::string& name, LinuxSystemNotifications::StateSource source) {
        return systemNotifications_.provideState(name, std::move(source));
      }};
  LinuxProfileSettings profile_{bus_};
  LinuxTelephonyNotifications telephonyNotifications_{modemManager_};
  LinuxTelephony telephony_{modemManager_};
  LinuxTelephonyServer telephonyServer_{runLoop_.event(), modemManager_, telephonyNotifications_};
  const Registration incoming_ =
      modemManager_.observeIncoming([this](ModemManagerClient::Incoming incoming) {
        if (incoming == ModemManagerClient::Incoming::Call) return wakeTexts_.callRings();
        wakeTexts_.messageArrived();
      });
  LinuxWiFiManager wifi_{runLoop_.event()};
  LinuxWiFiDriver wifiDriver_;
  LinuxBluetoothServer bluetooth_{runLoop_.event(), bus_};
  LinuxReachability reachability_{runLoop_.event()};
  LinuxAudioSystem audio_{runLoop_.event()};
  LinuxPushService push_;
  LinuxApplicationStates applications_{runLoop_.event(), systemLog_};
  LinuxPersistentConnections persistentConnections_;
  LinuxProcessIdentity identity_;
  LinuxAccountSync accountSync_;
  LinuxLocationService location_{
      runLoop_.event(),
      bus_,
      {[this] { return modemManager_.enabledLocationSources(); },
       [this](std::function<void()> changed) { return modemManager_.observe(std::move(changed)); }},
      systemNotifications_};
  LinuxAccessoryManager accessories_{runLoop_.event()};
  LinuxSystemLogQueries systemLogQueries_{clock_, systemLog_};
  LinuxSuspendRecords suspendRecords_;
  LinuxEnergyCounters energy_{systemLog_};
  LinuxWorkUnits work_;
  Platform platform_{runLoop_,
                     clock_,
                     systemLog_,
                     systemNotifications_,
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
                     work_};
};

}  // namespace

void reportReady() {
  sd_notify(0, "READY=1");
}

std::unique_ptr<LinuxPlatform> makeLinuxPlatform() {
  try {
    return std::make_unique<WholeLinuxPlatform>();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zorva: cannot start on this machine: %s\n", error.what());
    return nullptr;
  }
}

}  // namespace zorva
