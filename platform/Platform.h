#pragma once

namespace zorva {

class AccountDatabase;
class BatteryUsage;
class Clock;
class DateFormatting;
class DeviceInformation;
class DeviceRegistry;
class FileSystem;
class KernelValues;
class LocaleInformation;
class NetworkInterfaces;
class PowerManagement;
class PreferencesStore;
class ProcessInformation;
class ProcessTable;
class ProfileSettings;
class RunLoop;
class ScheduledPowerEvents;
class SystemLog;
class SystemNotifications;
class SystemPower;
class SystemStatistics;
class Telephony;
class TelephonyNotifications;
class TelephonyServer;
class Thermal;

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
  SystemPower& systemPower;
  ScheduledPowerEvents& scheduledEvents;
  KernelValues& kernel;
  ProcessInformation& processInformation;
  Thermal& thermal;
  ProfileSettings& profile;
  TelephonyServer& telephonyServer;
  Telephony& telephony;
  TelephonyNotifications& telephonyNotifications;
};

}  // namespace zorva
