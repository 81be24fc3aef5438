// SPDX-License-Identifier: Apache-2.0
#include "report/format/LogFormat_tables.h"

namespace zorva::logformat {
namespace {

using enum FieldType;
using enum Privacy;

constexpr WordFormat kAssertionStates[] = {
    {"held", "It is held at the time of the entry"},
    {"created", "It has just been created"},
    {"released", "It has just been released, or its process has ended"}};
constexpr FieldFormat kAssertion[] = {
    {"state", Word, "", "The state of the assertion.",
     "The login manager (logind or elogind) and the users' sessions report changes on their buses.",
     Harmless, kAssertionStates},
    {"process", Text, "", "The command name of the process that holds it.",
     "The kernel's name of the process; <unknown> if it has ended. If an application asked its "
     "desktop's session, that is the session's process.",
     Name},
    {"pid", Integer, "", "The process id of the holder.",
     "As the login manager or the user's bus reports it; 0 if it is not known."},
    {"name", Text, "", "The purpose of the assertion, as its holder gives it.",
     "The lock's \"who: why\", as systemd-inhibit --list shows them, or the same of an application "
     "that asked its desktop's session.",
     Name},
    {"held_for", Duration, "", "How long it has been held.",
     "The age of the lock's pipe in /run/systemd/inhibit, which root can read; otherwise the time "
     "since Zorva first saw the lock, as for all that sessions report."}};

constexpr WordFormat kChargingStates[] = {
    {"Active", "It is being charged"},
    {"Full", "It is full"},
    {"Inactive", "It is not being charged"},
    {"OverTemp", "It is too warm to be charged"},
    {"UnderTemp", "It is too cold to be charged"},
    {"Gradient", "Its temperature is too uneven for it to be charged"}};
constexpr FieldFormat kBattery[] = {
    {"level", Real, "%",
     "The charge of the battery, in percent of its present capacity; nan while no capacity is "
     "known.",
     "charge_now of charge_full, otherwise energy_now of energy_full, otherwise capacity."},
    {"voltage",
     Integer,
     " mV",
     "The battery's voltage in millivolts; -1 if it cannot be read.",
     "voltage_now.",
     Harmless,
     {},
     {"-1"}},
    {"current", Integer, " mA",
     "The present current in milliamperes; negative while the battery discharges.",
     "current_now, otherwise power_now; <unknown> if the driver reports no current or no full "
     "charge."},
    {"max_capacity", Real, "", "The capacity of the full battery, in milliampere hours.",
     "charge_full, otherwise energy_full at the nominal voltage; <unknown> if the driver reports "
     "no current or no full charge."},
    {"charging_state", Text, "",
     "Whether the battery is being charged, and if not, the reason; other texts are the driver's "
     "own.",
     "status and health.", Harmless, kChargingStates},
    {"charging_current",
     Integer,
     " mA",
     "The current as averaged by the battery, in milliamperes; negative while it discharges.",
     "current_avg, otherwise the same as current; 0 if neither is reported, which zorva-report "
     "then "
     "treats as absent.",
     Harmless,
     {},
     {"0", "current"}},
    {"battery_temp",
     Real,
     " C",
     "The battery's temperature in degrees Celsius.",
     "temp; 0.00 if the driver reports none, which zorva-report treats as absent.",
     Harmless,
     {},
     {"0.00"}},
    {"usage", Duration, "", "Time of use since the battery was last full.",
     "Linux does not record it: <unknown>."},
    {"standby", Duration, "", "Time since the battery was last full, in use or not.",
     "Linux does not record it: <unknown>."}};

constexpr WordFormat kLightSensor[] = {{"enabled", "The brightness follows the ambient light"},
                                       {"disabled", "The brightness does not follow it"}};
constexpr WordFormat kNoFirmware[] = {
    {"<none>", "There is no modem, or it does not report its version"}};
constexpr FieldFormat kConfig[] = {
    {"version", Integer, "", "The version of the log's format.", "Zorva's own."},
    {"build", Text, "", "The system's build.",
     "The pretty name and build of os-release, then the kernel's release."},
    {"device", Text, "", "The device's model.",
     "HARDWARE_MODEL of /etc/machine-info, otherwise the device tree's model, otherwise the "
     "firmware's vendor and product."},
    {"fb_key", Text, "", "A key that distinguishes devices in crash reports.",
     "A keyed hash of /etc/machine-id, from which the id cannot be derived; (null) without one.",
     Name},
    {"boot_args", Text, "", "The arguments with which the kernel was started.",
     "The kernel's command line, which can contain names of disks and serial numbers.", Content},
    {"auto_lock", Integer, "",
     "The seconds of inactivity after which the device locks itself; 0 if unknown.",
     "IdleActionSec= of the login manager; a desktop's own screen lock is not read."},
    {"backlight", Real, "", "The brightness that the user has chosen, from 0 to 1.",
     "0.500 unless LBBacklightLevel2 is set in the preferences (com.vennor.lumbrel.plist)."},
    {"als", Word, "", "Whether the ambient light sensor sets the brightness.",
     "enabled unless LBEnableALS is false in the preferences (com.vennor.lumbrel.plist).", Harmless,
     kLightSensor},
    {"baseband", Text, "", "The modem's firmware version.", "ModemManager.", Harmless, kNoFirmware},
    {"cycle_count", Integer, "", "The number of charge cycles of the battery.",
     "cycle_count; 0 if the driver reports none, <unknown> without a current or a full charge."},
    {"max_capacity", Real, "", "The capacity of the full battery, in milliampere hours.",
     "As in Battery entries."},
    {"design_capacity", Integer, "", "The capacity of the new battery, in milliampere hours.",
     "charge_full_design, otherwise energy_full_design; 0 if the driver reports neither."}};

constexpr FieldFormat kDisplay[] = {
    {"brightness", Integer, "",
     "The backlight's brightness between min and max, in the backlight's own units.",
     "actual_brightness, otherwise brightness, of the backlight class; 0 while it is off."},
    {"min", Integer, "", "The lowest brightness.", "Always 0."},
    {"max", Integer, "", "The highest brightness.", "max_brightness; 0 if it cannot be read."},
    {"active", Word, "", "Whether the backlight is lit.",
     "The brightness is not 0. If the desktop blanks the display without the backlight, the "
     "display still counts as lit.",
     Harmless, kYesOrNo}};

constexpr WordFormat kNeverRead[] = {{"<unavailable>", "It could not be read so far"}};
constexpr FieldFormat kEnergy[] = {
    {"*", Real, " J",
     "The energy in joules that a part of the hardware has used since Zorva's start; the key is "
     "the "
     "part's name. A part may be in another: core and uncore are in package-0, all are in psys.",
     "Each zone of /sys/class/powercap (package-0, core, uncore, dram, psys), which only root can "
     "read, and each energy sensor of /sys/class/hwmon as \"DRIVER.SENSOR\"; that of a suspended "
     "device keeps its last figure.",
     Harmless, kNeverRead},
    {"at_least", Text, "",
     "The parts, separated by commas, that may have used more since the last entry: at 145 W on "
     "average, their counters would have passed the end of their range once more than can be seen.",
     "From max_energy_range_uj and the time awake."},
    {"restarted", Text, "",
     "The parts, separated by commas, whose counters started anew since the last entry; what they "
     "used since then is not in the figure.",
     "A counter that is less than before has passed the end of its range only if that takes less "
     "than 145 W, and if other counters have not gone back."}};

constexpr FieldFormat kProcesses[] = {
    {"*", Integer, "",
     "The CPU time of a process since it started, in whole seconds; its key is the process's name "
     "with its id in parentheses, \"init(1)\".",
     "utime and stime of /proc/PID/stat; processes that have ended are not listed. If procfs is "
     "mounted with hidepid, other users' processes are hidden.",
     Name}};

constexpr WordFormat kScheduled[] = {
    {"Scheduled Wake", "The device will wake up"},
    {"Scheduled Wake or Power On", "It will wake up or, if it is off, be switched on"},
    {"Power On from Off state", "It will be switched on"},
    {"Scheduled Sleep", "It will go to sleep"},
    {"Scheduled Shutdown", "It will be switched off"},
    {"Scheduled Restart", "It will be restarted"}};
constexpr FieldFormat kSchedule[] = {
    {"event", Text, "", "What will happen; other texts are the system's own.",
     "Wakes and the login manager's scheduled shutdowns and restarts only.", Harmless, kScheduled},
    {"id", Text, "", "What has scheduled it.",
     "\"logind\" for shutdown and restart, the unit's name for timers with WakeSystem=yes, the "
     "clock's name for alarms of a real-time clock, because the kernel does not report which "
     "process has set one.",
     Name},
    {"time", DateTime, "", "When it will happen.", "From the same sources."}};

constexpr WordFormat kSleepEvents[] = {
    {"can_sleep", "The system asks whether it may sleep, and Zorva has allowed it"},
    {"will_sleep", "The system goes to sleep now"},
    {"will_not_sleep", "The device stays awake: the sleep was refused or has failed"}};
constexpr FieldFormat kSleep[] = {
    {"event", Word, "", "The step on the way to sleep.",
     "will_sleep when the login manager announces it, will_not_sleep if the kernel's counts then "
     "show that the sleep failed. A sleep that is not requested from the login manager has its "
     "Wake entry only.",
     Harmless, kSleepEvents}};

constexpr FieldFormat kThermal[] = {
    {"level", Integer, "", "How much the device is throttled because of heat; 0 is not at all.",
     "0 to 100: the strongest throttling of a cooling device at a passive trip point, in percent "
     "of its maximum."},
    {"*", Real, "",
     "A sensor's temperature in degrees Celsius; the key is \"s\", the number of its group of "
     "four, \".\" and its number there.",
     "s0.0 is thermal zone 0, s1.3 zone 7, up to s5.3, zone 23; the zone's type shows what it "
     "measures. Temperatures that are not above 1 and below 320 degrees are left out."}};

constexpr WordFormat kSleepResults[] = {{"slept", "The system slept and woke"},
                                        {"failed", "The attempt to sleep failed"}};
constexpr WordFormat kNothing[] = {{"<none>", "Nothing"}};
constexpr FieldFormat kSuspend[] = {
    {"asleep", Duration, "", "How long the system slept since the entry before.",
     "The difference between CLOCK_BOOTTIME and CLOCK_MONOTONIC."},
    {"hardware", Duration, "",
     "How long of it the hardware was in its deepest state; <unknown> if it does not count that.",
     "cpuidle/low_power_idle_system_residency_us (Intel), otherwise suspend_stats/total_hw_sleep "
     "(AMD and others). Sleeps in the mode \"deep\" have none."},
    {"mode", Text, "", "How the system sleeps; <unknown> if the kernel does not say.",
     "The selected one of /sys/power/mem_sleep: s2idle, deep; <unknown> after a hibernation."},
    {"result", Word, "", "Whether the system slept.", "As in Wake and Sleep.", Harmless,
     kSleepResults},
    {"failed_step", Text, "",
     "The step that failed last since the entry before, of an attempt or of a wake.",
     "suspend_stats/last_failed_step, if that step's own counter has grown.", Harmless, kNothing},
    {"failed_device", Text, "", "The device that failed last.",
     "suspend_stats/last_failed_dev, if the counter of a step with devices has grown.", Harmless,
     kNothing},
    {"failed_error", Integer, "", "The error number of the last attempt; 0 if none failed.",
     "suspend_stats/last_failed_errno, if suspend_stats/fail has grown."},
    {"blocked_by", Text, "",
     "What has kept the system from sleeping since the entry before, and for how long, longest "
     "first; at most five.",
     "prevent_suspend_time_ms of /sys/class/wakeup, which only grows where the system sleeps by "
     "itself (autosleep).",
     Name, kNothing},
    {"restarted", Text, "",
     "The counters that have begun anew since the entry before; only if there are any.",
     "Counts that are less than before: a driver was loaded again.", Name}};
constexpr FieldFormat kWakeupSources[] = {
    {"*", Integer, "",
     "How often a wakeup source was active since the entry before; the key is its name.",
     "event_count of /sys/class/wakeup. Sources of the same name are added up.", Name}};

constexpr FieldFormat kWork[] = {
    {"*", Real, "",
     "The CPU time in seconds that all processes of a unit have used since the unit was started, "
     "those that have ended among them; its key is the unit's name. The figure of a unit around "
     "others is what those do not account for.",
     "usage_usec of cpu.stat of the unit's control group. Applications are \"app-NAME@INSTANCE\", "
     "units of a user's service manager end in the user's id in parentheses, -.slice has the "
     "kernel's threads and what units that have gone had used.",
     Name}};

constexpr WordFormat kNoInfo[] = {{"<none>", "The modem did not wake the device"}};
constexpr FieldFormat kWake[] = {
    {"reason", Text, "",
     "The reason of the wake as the kernel reports it; <unknown> if it reports none. A reason that "
     "contains \"baseband\", \"radios\", \"exton(bb)\" or \"exton2(bb)\" means the modem.",
     "The wakeup reasons of Android kernels, otherwise the interrupt (kernels with "
     "CONFIG_PM_SLEEP_DEBUG) with the firmware's event, otherwise the wakeup source that was "
     "active first; if it is the modem's, \"baseband\" precedes it."},
    {"info", Text, "",
     "The modem's own text about the wake: the packet's bytes, the call or the message; (null) if "
     "it is not available.",
     "Made from the first packet that arrived with the wake, which needs CAP_NET_RAW, or from a "
     "call or message that ModemManager reports.",
     Content, kNoInfo}};

constexpr EntryFormat kEntries[] = {
    {"Assertion", EntryShape::Fields,
     "What keeps the device awake: a power assertion, on Linux a blocking inhibitor lock, "
     "or what an application holds with its desktop's session.",
     "In a snapshot and with the level, one for each that is held; whenever one is created or "
     "released.",
     "Which programs are in use, and through the names what for: a call, a film, a download.",
     kAssertion},
    {"Battery", EntryShape::Fields,
     "The battery's state. On Linux that of all batteries in /sys/class/power_supply together, "
     "whose files are named below; a device without a battery has no such entries.",
     "In a snapshot, and when the state or a whole percent changes; other figures once a minute at "
     "most.",
     "When the device was charged, and so the habits of its owner.", kBattery},
    {"Config", EntryShape::Fields, "The device and its set-up.", "In a snapshot.",
     "The model and system of the device, a key that never changes for the device, and the "
     "contents of the kernel's arguments.",
     kConfig},
    {"Display", EntryShape::Fields,
     "The display's backlight. On Linux one in /sys/class/backlight, whose files are named below; "
     "a device without a backlight has no such entries.",
     "In a snapshot, and when the brightness changes.", "When the device was in use.", kDisplay},
    {"Energy", EntryShape::Fields,
     "The energy that parts of the hardware have used, as their own counters have it; a device "
     "without such counters has no such entries.",
     "In a snapshot and with the level.", "How busy the device was.", kEnergy},
    {"ProcessMonitor", EntryShape::Fields,
     "The processes by the CPU time that they have used, busiest first; at most 999.",
     "In a snapshot and with the level.",
     "The names of all running programs, and how much each one is used.", kProcesses},
    {"Schedule", EntryShape::Fields, "What will wake, restart or shut down the device.",
     "In a snapshot and whenever the device goes to sleep, one for each event.",
     "When the owner gets up, and which program wakes the device.", kSchedule},
    {"Sleep", EntryShape::Fields, "The steps on the way to sleep.", "At each step.",
     "When the device was not in use.", kSleep},
    {"Suspend", EntryShape::Fields,
     "What a sleep was, by the kernel's records; a system that keeps none has no such entries.",
     "After each wake, and after each sleep that failed.", "When the device was not in use.",
     kSuspend},
    {"Thermal", EntryShape::Fields,
     "The temperatures of the device and its throttling. On Linux from /sys/class/thermal.",
     "In a snapshot, and when the thermal level changes.", "", kThermal},
    {"Wake", EntryShape::Fields, "The end of a sleep.", "At each wake.",
     "The raw bytes of the packet that woke the device, with the addresses of both ends.", kWake},
    {"Wakeup Sources", EntryShape::Fields,
     "What can wake the device, by how often it was active, most often first; at most 20.",
     "With Suspend, if any was active.", "Which devices and programs wake the device.",
     kWakeupSources},
    {"Work", EntryShape::Fields,
     "The units in which services and applications run, by the CPU time that they have used, "
     "busiest first; at most 100, and none below a tenth of a second. A system without control "
     "groups (version 2) has no such entries.",
     "In a snapshot and with the level.",
     "The names of the applications and services, and how much each one is used.", kWork}};

}  // namespace

std::span<const EntryFormat> power() {
  return kEntries;
}

}  // namespace zorva::logformat
