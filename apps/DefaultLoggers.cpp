// SPDX-License-Identifier: Apache-2.0
#include "apps/DefaultLoggers.h"

#include <functional>
#include <memory>
#include <utility>

#include "core/Preferences.h"
#include "loggers/ZVAccessoryLogger.h"
#include "loggers/ZVApplicationLogger.h"
#include "loggers/ZVAudioLogger.h"
#include "loggers/ZVBluetoothLogger.h"
#include "loggers/ZVEnergyLogger.h"
#include "loggers/ZVGeodyneLogger.h"
#include "loggers/ZVKeeplineLogger.h"
#include "loggers/ZVLocaleLogger.h"
#include "loggers/ZVNetworkLogger.h"
#include "loggers/ZVPushNotificationLogger.h"
#include "loggers/ZVReachabilityLogger.h"
#include "loggers/ZVSkyvaultLogger.h"
#include "loggers/ZVSuspendLogger.h"
#include "loggers/ZVSyncwardLogger.h"
#include "loggers/ZVSyslogLogger.h"
#include "loggers/ZVWiFiLogger.h"
#include "loggers/ZVWorkLogger.h"
#include "power/ZVBatteryLogger.h"
#include "power/ZVBatteryProperties.h"
#include "power/ZVDisplayLogger.h"
#include "power/ZVPowerAssertionChangedLogger.h"
#include "power/ZVPowerAssertionLogger.h"
#include "power/ZVScheduledWakeLogger.h"
#include "power/ZVThermalLogger.h"
#include "process/ZVProcessMonitor.h"
#include "telephony/ZVBasebandStateDurationLogger.h"
#include "telephony/ZVConfigLogger.h"
#include "telephony/ZVRegistrationLogger.h"
#include "telephony/ZVSleepWakeLogger.h"
#include "telephony/ZVTelephonyConnection.h"
#include "telephony/ZVTelephonyLogger.h"

namespace zorva {
namespace {

using Made = std::unique_ptr<ZVLogger>;

std::shared_ptr<ZVTelephonyConnection> connection(const LoggerParts& parts) {
  return std::static_pointer_cast<ZVTelephonyConnection>(parts.sharedConnection);
}

// The device's answers about its battery are asked anew then.
Registration observeBattery(const Platform& platform, std::function<void()> appeared) {
  return platform.registry.observeFirstPowerSource([appeared = std::move(appeared)] {
    ZVBatteryProperties::forgetGasGauge();
    appeared();
  });
}

// clang-format off
constexpr LoggerRow kRows[] = {
    {[](const LoggerParts& p) -> Made {
       return ZVConfigLogger::loggerWithConnection(p.services, p.platform.telephonyNotifications, connection(p),
                                                   {{p.platform.registry, p.platform.device, p.platform.systemLog},
                                                    p.platform.kernel, p.platform.profile, p.platform.preferences}); }},
    {[](const LoggerParts& p) -> Made {
       return ZVBluetoothLogger::logger(p.services, p.platform.bluetooth, p.platform.runLoop); }},
    {[](const LoggerParts& p) -> Made {
       return ZVNetworkLogger::logger(p.services, p.platform.interfaces); }},
    {[](const LoggerParts& p) -> Made {
       return ZVProcessMonitor::logger(p.services, p.platform.statistics, p.platform.accounts); }},
    {[](const LoggerParts& p) -> Made {
       return ZVAudioLogger::logger(p.services, p.platform.audio); }},
    {[](const LoggerParts& p) -> Made {
       return ZVDisplayLogger::logger(p.services, p.platform.registry); }},
    {[](const LoggerParts& p) -> Made {
       return ZVWiFiLogger::logger(p.services, p.platform.wifi, p.platform.wifiDriver, p.platform.preferences); }},
    {[](const LoggerParts& p) -> Made {
       return ZVPowerAssertionLogger::logger(p.services, p.platform.powerManagement, p.platform.processes); },
     'p'},
    {[](const LoggerParts& p) -> Made {
       return ZVPowerAssertionChangedLogger::logger(p.services, p.platform.powerManagement, p.platform.processes); }},
    {[](const LoggerParts& p) -> Made {
       return ZVTelephonyLogger::loggerWithConnection(p.services, p.platform.telephonyNotifications,
                                                      connection(p), p.platform.telephony); }},
    {[](const LoggerParts& p) -> Made {
       return ZVBasebandStateDurationLogger::loggerWithConnection(
           p.services, p.platform.telephonyNotifications, connection(p)); }},
    {[](const LoggerParts& p) -> Made {
       return ZVPushNotificationLogger::logger(p.services, p.platform.push, p.platform.preferences); }},
    {[](const LoggerParts& p) -> Made {
       return ZVApplicationLogger::logger(p.services, p.platform.applications); }},
    // Its packet tracker observes "ZVDeviceWillSleepNotification" before the scheduled wake logger does:
    // the socket table is read before anything is logged.
    {[](const LoggerParts& p) -> Made {
       return ZVSleepWakeLogger::loggerWithConnection(p.services, p.platform.telephonyNotifications, connection(p),
                                                      {p.platform.systemPower, p.platform.kernel,
                                                       p.platform.processInformation}); }},
    {[](const LoggerParts& p) -> Made {
       return ZVScheduledWakeLogger::logger(p.services, p.platform.scheduledEvents); }},
    {[](const LoggerParts& p) -> Made {
       return ZVBatteryLogger::logger(p.services, {p.platform.registry, p.platform.device, p.platform.systemLog},
                                      p.platform.batteryUsage, p.platform.preferences); },
     'B', nullptr, observeBattery},
    {[](const LoggerParts& p) -> Made {
       return ZVKeeplineLogger::logger(p.services, p.platform.persistentConnections,
                                       p.platform.identity, p.platform.accounts); }},
    {[](const LoggerParts& p) -> Made {
       return ZVSyncwardLogger::logger(p.services, p.platform.accountSync); }},
    {[](const LoggerParts& p) -> Made {
       return ZVGeodyneLogger::logger(p.services, p.platform.location); }},
    {[](const LoggerParts& p) -> Made {
       return ZVSyslogLogger::logger(p.services, p.platform.systemLogQueries); },
     0, kRecordSyslog},
    {[](const LoggerParts& p) -> Made {
       return ZVThermalLogger::logger(p.services, p.platform.thermal); }},
    {[](const LoggerParts& p) -> Made {
       return ZVSkyvaultLogger::logger(p.services); }},
    {[](const LoggerParts& p) -> Made {
       return ZVAccessoryLogger::logger(p.services, p.platform.accessories); }},
    {[](const LoggerParts& p) -> Made {
       return ZVReachabilityLogger::logger(p.services, p.platform.reachability); }},
    {[](const LoggerParts& p) -> Made {
       return ZVRegistrationLogger::loggerWithConnection(p.services, p.platform.telephonyNotifications,
                                                         connection(p), p.platform.telephony); }},
    {[](const LoggerParts& p) -> Made {
       return ZVLocaleLogger::logger(p.services, p.platform.locale); }},
    {[](const LoggerParts& p) -> Made {
       return ZVSuspendLogger::logger(p.services, p.platform.suspendRecords, p.platform.systemPower); }},
    {[](const LoggerParts& p) -> Made {
       return ZVEnergyLogger::logger(p.services, p.platform.energy); }},
    {[](const LoggerParts& p) -> Made {
       return ZVWorkLogger::logger(p.services, p.platform.work); }},
};
// clang-format on

}  // namespace

LoggerTable defaultLoggers() {
  return {kRows, [](const Platform& p) -> SharedConnection {
            return std::make_shared<ZVTelephonyConnection>(ZVTelephonyConnection::Sources{
                p.telephonyServer, p.telephony, p.telephonyNotifications, p.systemLog});
          }};
}

}  // namespace zorva
