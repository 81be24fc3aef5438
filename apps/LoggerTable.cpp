#include "apps/LoggerTable.h"

#include <array>

#include "loggers/ZVAccessoryLogger.h"
#include "loggers/ZVApplicationLogger.h"
#include "loggers/ZVAudioLogger.h"
#include "loggers/ZVBluetoothLogger.h"
#include "loggers/ZVGeodyneLogger.h"
#include "loggers/ZVKeeplineLogger.h"
#include "loggers/ZVLocaleLogger.h"
#include "loggers/ZVNetworkLogger.h"
#include "loggers/ZVPushNotificationLogger.h"
#include "loggers/ZVReachabilityLogger.h"
#include "loggers/ZVSkyvaultLogger.h"
#include "loggers/ZVSyncwardLogger.h"
#include "loggers/ZVSyslogLogger.h"
#include "loggers/ZVWiFiLogger.h"
#include "power/ZVBatteryLogger.h"
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

// clang-format off
constexpr std::array<LoggerRow, 26> kRows{{
    {"ZVConfigLogger", [](const LoggerParts& p) -> Made {
       return ZVConfigLogger::loggerWithConnection(p.services, p.platform.telephonyNotifications, p.telephonyConnection,
                                                   {{p.platform.registry, p.platform.device, p.platform.systemLog},
                                                    p.platform.kernel, p.platform.profile, p.platform.preferences}); }},
    {"ZVBluetoothLogger", [](const LoggerParts& p) -> Made {
       return ZVBluetoothLogger::logger(p.services, p.platform.bluetooth, p.platform.runLoop); }},
    {"ZVNetworkLogger", [](const LoggerParts& p) -> Made {
       return ZVNetworkLogger::logger(p.services, p.platform.interfaces); }},
    {"ZVProcessMonitor", [](const LoggerParts& p) -> Made {
       return ZVProcessMonitor::logger(p.services, p.platform.statistics, p.platform.accounts); }},
    {"ZVAudioLogger", [](const LoggerParts& p) -> Made {
       return ZVAudioLogger::logger(p.services, p.platform.audio); }},
    {"ZVDisplayLogger", [](const LoggerParts& p) -> Made {
       return ZVDisplayLogger::logger(p.services, p.platform.registry); }},
    {"ZVWiFiLogger", [](const LoggerParts& p) -> Made {
       return ZVWiFiLogger::logger(p.services, p.platform.wifi, p.platform.wifiDriver, p.platform.preferences); }},
    {"ZVPowerAssertionLogger", [](const LoggerParts& p) -> Made {
       return ZVPowerAssertionLogger::logger(p.services, p.platform.powerManagement, p.platform.processes); }},
    {"ZVPowerAssertionChangedLogger", [](const LoggerParts& p) -> Made {
       return ZVPowerAssertionChangedLogger::logger(p.services, p.platform.powerManagement, p.platform.processes); }},
    {"ZVTelephonyLogger", [](const LoggerParts& p) -> Made {
       return ZVTelephonyLogger::loggerWithConnection(p.services, p.platform.telephonyNotifications,
                                                      p.telephonyConnection, p.platform.telephony); }},
    {"ZVBasebandStateDurationLogger", [](const LoggerParts& p) -> Made {
       return ZVBasebandStateDurationLogger::loggerWithConnection(
           p.services, p.platform.telephonyNotifications, p.telephonyConnection); }},
    {"ZVPushNotificationLogger", [](const LoggerParts& p) -> Made {
       return ZVPushNotificationLogger::logger(p.services, p.platform.push, p.platform.preferences); }},
    {"ZVApplicationLogger", [](const LoggerParts& p) -> Made {
       return ZVApplicationLogger::logger(p.services, p.platform.applications); }},
    // Before those that answer its notifications: the sockets are looked at before anything is logged.
    {"ZVSleepWakeLogger", [](const LoggerParts& p) -> Made {
       return ZVSleepWakeLogger::loggerWithConnection(p.services, p.platform.telephonyNotifications, p.telephonyConnection,
                                                      {p.platform.systemPower, p.platform.kernel,
                                                       p.platform.processInformation}); }},
    {"ZVScheduledWakeLogger", [](const LoggerParts& p) -> Made {
       return ZVScheduledWakeLogger::logger(p.services, p.platform.scheduledEvents); }},
    {"ZVBatteryLogger", [](const LoggerParts& p) -> Made {
       return ZVBatteryLogger::logger(p.services, {p.platform.registry, p.platform.device, p.platform.systemLog},
                                      p.platform.batteryUsage, p.platform.preferences); }},
    {"ZVKeeplineLogger", [](const LoggerParts& p) -> Made {
       return ZVKeeplineLogger::logger(p.services, p.platform.persistentConnections,
                                       p.platform.identity, p.platform.accounts); }},
    {"ZVSyncwardLogger", [](const LoggerParts& p) -> Made {
       return ZVSyncwardLogger::logger(p.services, p.platform.accountSync); }},
    {"ZVGeodyneLogger", [](const LoggerParts& p) -> Made {
       return ZVGeodyneLogger::logger(p.services, p.platform.location); }},
    {"ZVSyslogLogger", [](const LoggerParts& p) -> Made {
       return ZVSyslogLogger::logger(p.services, p.platform.systemLogQueries); }},
    {"ZVThermalLogger", [](const LoggerParts& p) -> Made {
       return ZVThermalLogger::logger(p.services, p.platform.thermal); }},
    {"ZVSkyvaultLogger", [](const LoggerParts& p) -> Made {
       return ZVSkyvaultLogger::logger(p.services); }},
    {"ZVAccessoryLogger", [](const LoggerParts& p) -> Made {
       return ZVAccessoryLogger::logger(p.services, p.platform.accessories); }},
    {"ZVReachabilityLogger", [](const LoggerParts& p) -> Made {
       return ZVReachabilityLogger::logger(p.services, p.platform.reachability); }},
    {"ZVRegistrationLogger", [](const LoggerParts& p) -> Made {
       return ZVRegistrationLogger::loggerWithConnection(p.services, p.platform.telephonyNotifications,
                                                         p.telephonyConnection, p.platform.telephony); }},
    {"ZVLocaleLogger", [](const LoggerParts& p) -> Made {
       return ZVLocaleLogger::logger(p.services, p.platform.locale); }},
}};
// clang-format on

}  // namespace

LoggerTable loggerTable() {
  return {kRows, [](const Platform& p) {
            return std::make_shared<ZVTelephonyConnection>(ZVTelephonyConnection::Sources{
                p.telephonyServer, p.telephony, p.telephonyNotifications, p.systemLog});
          }};
}

}  // namespace zorva
