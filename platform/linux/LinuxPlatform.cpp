#include "platform/linux/LinuxPlatform.h"

#include "platform/linux/LinuxAccessoryManager.h"
#include "platform/linux/LinuxAccountDatabase.h"
#include "platform/linux/LinuxAccountSync.h"
#include "platform/linux/LinuxApplicationStates.h"
#include "platform/linux/LinuxAudioSystem.h"
#include "platform/linux/LinuxBatteryUsage.h"
#include "platform/linux/LinuxBluetoothServer.h"
#include "platform/linux/LinuxBus.h"
#include "platform/linux/LinuxClock.h"
#include "platform/linux/LinuxDateFormatting.h"
#include "platform/linux/LinuxDeviceInformation.h"
#include "platform/linux/LinuxDeviceRegistry.h"
#include "platform/linux/LinuxKernelValues.h"
#include "platform/linux/LinuxLocaleInformation.h"
#include "platform/linux/LinuxLocationService.h"
#include "platform/linux/LinuxNetworkInterfaces.h"
#include "platform/linux/LinuxPersistentConnections.h"
#include "platform/linux/LinuxPowerManagement.h"
#include "platform/linux/LinuxProcessIdentity.h"
#include "platform/linux/LinuxProcessInformation.h"
#include "platform/linux/LinuxProcessTable.h"
#include "platform/linux/LinuxProfileSettings.h"
#include "platform/linux/LinuxPushService.h"
#include "platform/linux/LinuxReachability.h"
#include "platform/linux/LinuxRunLoop.h"
#include "platform/linux/LinuxScheduledPowerEvents.h"
#include "platform/linux/LinuxSystemLog.h"
#include "platform/linux/LinuxSystemLogQueries.h"
#include "platform/linux/LinuxSystemNotifications.h"
#include "platform/linux/LinuxSystemPower.h"
#include "platform/linux/LinuxSystemStatistics.h"
#include "platform/linux/LinuxTelephony.h"
#include "platform/linux/LinuxTelephonyNotifications.h"
#include "platform/linux/LinuxTelephonyServer.h"
#include "platform/linux/LinuxThermal.h"
#include "platform/linux/LinuxWiFiDriver.h"
#include "platform/linux/LinuxWiFiManager.h"
#include "platform/linux/ModemManagerClient.h"
#include "platform/linux/WakeTexts.h"
#include "platform/support/PosixFileSystem.h"
#include "platform/support/PropertyListPreferences.h"

namespace zorva {
namespace {

constexpr const char* kAssertionsChanged = "com.vennor.system.powermanagement.assertions";

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
  // Each service after what it uses, so that it is destroyed before.
  LinuxRunLoop runLoop_;
  LinuxClock clock_;
  LinuxSystemLog systemLog_;
  LinuxSystemNotifications systemNotifications_{runLoop_, systemLog_};
  PosixFileSystem files_;
  LinuxAccountDatabase accounts_;
  PropertyListPreferences preferences_{files_, accounts_, systemLog_};
  LinuxDeviceRegistry registry_{runLoop_.event()};
  LinuxDeviceInformation device_{[this] { return Value(registry_.hasGasGauge()); }};
  LinuxLocaleInformation locale_{runLoop_.event(), clock_};
  LinuxDateFormatting dates_{
      [this]() -> const LinuxLocaleInformation::Settings& { return locale_.settings(); }};
  LinuxBatteryUsage batteryUsage_;
  LinuxBus bus_{runLoop_.event()};
  LinuxPowerManagement powerManagement_{runLoop_.event(), bus_, clock_,
                                        [this] { systemNotifications_.post(kAssertionsChanged); }};
  LinuxProcessTable processes_;
  LinuxNetworkInterfaces interfaces_;
  LinuxSystemStatistics statistics_;
  ModemManagerClient modemManager_{runLoop_.event(), bus_};
  LinuxKernelValues kernel_{[this] { return modemManager_.modemDevices(); }};
  WakeTexts wakeTexts_{runLoop_};
  LinuxSystemPower systemPower_{bus_,
                                {[this] {
                                   kernel_.systemWillSleep();
                                   wakeTexts_.sleepBegins(modemManager_.mobileInterfaces());
                                 },
                                 [this](std::function<void()> proceed) {
                                   wakeTexts_.awake(kernel_.systemDidWake(), std::move(proceed));
                                 },
                                 [this] { wakeTexts_.told(); }}};
  LinuxScheduledPowerEvents scheduledEvents_{bus_, clock_};
  LinuxProcessInformation processInformation_;
  LinuxThermal thermal_{runLoop_.event(), systemNotifications_};
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
  LinuxApplicationStates applications_{runLoop_.event()};
  LinuxPersistentConnections persistentConnections_;
  LinuxProcessIdentity identity_;
  LinuxAccountSync accountSync_;
  LinuxLocationService location_{runLoop_.event(), bus_, modemManager_, systemNotifications_};
  LinuxAccessoryManager accessories_{runLoop_.event()};
  LinuxSystemLogQueries systemLogQueries_;
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
                     systemLogQueries_};
};

}  // namespace

std::unique_ptr<LinuxPlatform> makeLinuxPlatform() {
  try {
    return std::make_unique<WholeLinuxPlatform>();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zorva: cannot start on this machine: %s\n", error.what());
    return nullptr;
  }
}

}  // namespace zorva
