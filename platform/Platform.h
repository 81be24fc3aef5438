#pragma once

namespace zorva {

class AccountDatabase;
class BatteryUsage;
class Clock;
class DateFormatting;
class DeviceInformation;
class DeviceRegistry;
class FileSystem;
class LocaleInformation;
class NetworkInterfaces;
class PowerManagement;
class PreferencesStore;
class ProcessTable;
class RunLoop;
class SystemLog;
class SystemNotifications;
class SystemStatistics;

/// Every service of the platform. Made whole by makeLinuxPlatform() or by SimHandset, which own
/// what it refers to.
struct Platform {
  RunLoop& runLoop;
  Clock& clock;
  SystemLog& systemLog;
  SystemNotifications& systemNotifications;
  FileSystem& files;
  AccountDatabase& accounts;
  PreferencesStore& preferences;
  DeviceInformation& device;
  DateFormatting& dates;
  LocaleInformation& locale;
  DeviceRegistry& registry;
  BatteryUsage& batteryUsage;
  PowerManagement& powerManagement;
  ProcessTable& processes;
  NetworkInterfaces& interfaces;
  SystemStatistics& statistics;
};

}  // namespace zorva
