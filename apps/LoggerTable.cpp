#include "apps/LoggerTable.h"

#include <array>

#include "loggers/ZVAccessoryLogger.h"
#include "loggers/ZVApplicationLogger.h"
#include "loggers/ZVGeodyneLogger.h"
#include "loggers/ZVKeeplineLogger.h"
#include "loggers/ZVLocaleLogger.h"
#include "loggers/ZVNetworkLogger.h"
#include "loggers/ZVPushNotificationLogger.h"
#include "loggers/ZVSkyvaultLogger.h"
#include "loggers/ZVSyncwardLogger.h"
#include "power/ZVBatteryLogger.h"
#include "power/ZVPowerAssertionChangedLogger.h"
#include "power/ZVPowerAssertionLogger.h"
#include "process/ZVProcessMonitor.h"
#include "telephony/ZVTelephonyConnection.h"

namespace zorva {
namespace {

using Made = std::unique_ptr<ZVLogger>;
constexpr auto kAbsent = nullptr;

// clang-format off
constexpr std::array<LoggerRow, 26> kRows{{
    {"ZVConfigLogger", kAbsent},
    {"ZVBluetoothLogger", kAbsent},
    {"ZVNetworkLogger", [](const LoggerParts& p) -> Made {
       return ZVNetworkLogger::logger(p.services, p.platform.interfaces); }},
    {"ZVProcessMonitor", [](const LoggerParts& p) -> Made {
       return ZVProcessMonitor::logger(p.services, p.platform.statistics, p.platform.accounts); }},
    {"ZVAudioLogger", kAbsent},
    {"ZVDisplayLogger", kAbsent},
    {"ZVWiFiLogger", kAbsent},
    {"ZVPowerAssertionLogger", [](const LoggerParts& p) -> Made {
       return ZVPowerAssertionLogger::logger(p.services, p.platform.powerManagement, p.platform.processes); }},
    {"ZVPowerAssertionChangedLogger", [](const LoggerParts& p) -> Made {
       return ZVPowerAssertionChangedLogger::logger(p.services, p.platform.powerManagement, p.platform.processes); }},
    {"ZVTelephonyLogger", kAbsent},
    {"ZVBasebandStateDurationLogger", kAbsent},
    {"ZVPushNotificationLogger", [](const LoggerParts& p) -> Made {
       return ZVPushNotificationLogger::logger(p.services, p.platform.push, p.platform.preferences); }},
    {"ZVApplicationLogger", [](const LoggerParts& p) -> Made {
       return ZVApplicationLogger::logger(p.services, p.platform.applications); }},
    {"ZVSleepWakeLogger", kAbsent},
    {"ZVScheduledWakeLogger", kAbsent},
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
    {"ZVSyslogLogger", kAbsent},
    {"ZVThermalLogger", kAbsent},
    {"ZVSkyvaultLogger", [](const LoggerParts& p) -> Made {
       return ZVSkyvaultLogger::logger(p.services); }},
    {"ZVAccessoryLogger", [](const LoggerParts& p) -> Made {
       return ZVAccessoryLogger::logger(p.services, p.platform.accessories); }},
    {"ZVReachabilityLogger", kAbsent},
    {"ZVRegistrationLogger", kAbsent},
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
