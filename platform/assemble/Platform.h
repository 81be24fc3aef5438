// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

class AccessoryManager;
class AccountDatabase;
class AccountSync;
class ApplicationStates;
class AudioSystem;
class BatteryUsage;
class BluetoothServer;
class Clock;
class DateFormatting;
class DeviceInformation;
class DeviceRegistry;
class EnergyCounters;
class FileSystem;
class KernelValues;
class LocaleInformation;
class LocationService;
class NetworkInterfaces;
class PersistentConnections;
class PowerManagement;
class PreferencesStore;
class ProcessIdentity;
class ProcessInformation;
class ProcessTable;
class ProfileSettings;
class PushService;
class Reachability;
class RunLoop;
class ScheduledPowerEvents;
class SuspendRecords;
class SystemLog;
class SystemLogQueries;
class SystemNotifications;
class SystemPower;
class SystemStatistics;
class Telephony;
class TelephonyNotifications;
class TelephonyServer;
class Thermal;
class WiFiDriver;
class WiFiManager;
class WorkUnits;

/// Every service of the platform. Created by makeLinuxPlatform() or SimHandset, which own the
/// services.
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
  WiFiManager& wifi;
  WiFiDriver& wifiDriver;
  BluetoothServer& bluetooth;
  Reachability& reachability;
  AudioSystem& audio;
  PushService& push;
  ApplicationStates& applications;
  PersistentConnections& persistentConnections;
  ProcessIdentity& identity;
  AccountSync& accountSync;
  LocationService& location;
  AccessoryManager& accessories;
  SystemLogQueries& systemLogQueries;
  SuspendRecords& suspendRecords;
  EnergyCounters& energy;
  WorkUnits& work;
};

}  // namespace zorva
