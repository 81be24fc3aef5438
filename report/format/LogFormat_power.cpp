#include "report/format/LogFormat_tables.h"

namespace zorva::logformat {
namespace {

using enum FieldType;
using enum Privacy;

constexpr WordFormat kAssertionStates[] = {
    {"held", "It is there at the moment of the entry"},
    {"created", "It has just been made"},
    {"released", "It has just been given back, or its process has ended"}};
constexpr FieldFormat kAssertion[] = {
    {"state", Word, "", "What has become of the assertion.",
     "The login manager (logind or elogind) on the system bus tells changes.", Harmless,
     kAssertionStates},
    {"process", Text, "", "The command name of the process that holds it.",
     "The kernel's name of the process; <unknown> when it has ended.", Name},
    {"pid", Integer, "", "The process id of the holder.", "As the login manager tells it."},
    {"name", Text, "", "What the holder says the assertion is for.",
     "The lock's \"who: why\", as systemd-inhibit --list shows them.", Name},
    {"held_for", Duration, "", "How long it has been held.",
     "From the age of the lock's pipe in /run/systemd/inhibit, which root can read; else since "
     "Zorva first saw the lock."}};

constexpr WordFormat kChargingStates[] = {
    {"Active", "It is being charged"},
    {"Full", "It is full"},
    {"Inactive", "It is not being charged"},
    {"OverTemp", "It is too warm to be charged"},
    {"UnderTemp", "It is too cold to be charged"},
    {"Gradient", "Its temperature is too uneven for it to be charged"}};
constexpr FieldFormat kBattery[] = {
    {"level", Real, "%",
     "How full the battery is, in percent of what it holds today; nan while no capacity is known.",
     "charge_now of charge_full, else energy_now of energy_full, else capacity."},
    {"voltage", Integer, " mV", "The battery's voltage in millivolts; -1 when it cannot be read.",
     "voltage_now."},
    {"current", Integer, " mA",
     "The current at this moment in milliamperes; negative while the battery is drained.",
     "current_now, else power_now; <unknown> where the driver tells no current or no full charge."},
    {"max_capacity", Real, "", "What the battery holds when full, in milliampere hours.",
     "charge_full, else energy_full at the nominal voltage; <unknown> where the driver tells no "
     "current or no full charge."},
    {"charging_state", Text, "",
     "Whether the battery is being charged, and if not, why not; other texts are the driver's own.",
     "status and health.", Harmless, kChargingStates},
    {"charging_current", Integer, " mA",
     "The current as the battery averages it, in milliamperes; negative while it is drained.",
     "current_avg, else the same as current; 0 where neither is told."},
    {"battery_temp", Real, " C", "The battery's temperature in degrees Celsius.",
     "temp; 0.00 where the driver tells none."},
    {"usage", Duration, "", "Time of use since the battery was last full.",
     "Nobody keeps that account: <unknown>."},
    {"standby", Duration, "", "Time since the battery was last full, in use or not.",
     "Nobody keeps that account: <unknown>."}};

constexpr WordFormat kLightSensor[] = {{"enabled", "The display follows the light around it"},
                                       {"disabled", "It does not"}};
constexpr WordFormat kNoFirmware[] = {{"<none>", "There is no modem, or it does not tell"}};
constexpr FieldFormat kConfig[] = {
    {"version", Integer, "", "The version of the log's format.", "Zorva's own."},
    {"build", Text, "", "The system's build.",
     "The pretty name and build of os-release, then the kernel's release."},
    {"device", Text, "", "The device's model.",
     "HARDWARE_MODEL of /etc/machine-info, else the device tree's model, else what the firmware "
     "tells."},
    {"fb_key", Text, "", "A key that tells devices apart in crash reports.",
     "A keyed hash of /etc/machine-id, which it does not give away; (null) without one.", Name},
    {"boot_args", Text, "", "The arguments that the kernel was started with.",
     "The kernel's command line, which can name disks and serial numbers.", Content},
    {"auto_lock", Integer, "",
     "After how many seconds without use the device locks itself; 0 when unknown.",
     "IdleActionSec= of the login manager; a desktop's own screen lock is not known."},
    {"backlight", Real, "", "The brightness that the user has chosen, from 0 to 1.",
     "0.500 unless LBBacklightLevel2 is set in the preferences (com.vennor.lumbrel.plist)."},
    {"als", Word, "", "Whether the ambient light sensor sets the brightness.",
     "enabled unless LBEnableALS in the preferences (com.vennor.lumbrel.plist) says otherwise.",
     Harmless, kLightSensor},
    {"baseband", Text, "", "The modem's firmware version.", "ModemManager.", Harmless, kNoFirmware},
    {"cycle_count", Integer, "", "How often the battery has been charged and drained.",
     "cycle_count; 0 where the driver tells none, <unknown> without a current or a full charge."},
    {"max_capacity", Real, "", "What the battery holds when full, in milliampere hours.",
     "As in Battery entries."},
    {"design_capacity", Integer, "", "What it held when new, in milliampere hours.",
     "charge_full_design, else energy_full_design; 0 where the driver tells neither."}};

constexpr FieldFormat kDisplay[] = {
    {"brightness", Integer, "", "The backlight's brightness between min and max, in its own units.",
     "actual_brightness, else brightness, of the backlight class; 0 while it is off."},
    {"min", Integer, "", "The least brightness.", "Always 0."},
    {"max", Integer, "", "The greatest brightness.", "max_brightness; 0 when it cannot be read."},
    {"active", Word, "", "Whether the backlight is lit.",
     "The brightness is not 0. A display that the desktop has blanked without it still counts as "
     "lit.",
     Harmless, kYesOrNo}};

constexpr FieldFormat kProcesses[] = {
    {"*", Integer, "",
     "The CPU time of a process since it started, in whole seconds; its key is the process's name "
     "with its id in parentheses, \"init(1)\".",
     "utime and stime of /proc/PID/stat; processes that have ended are not listed. Other users' "
     "processes are hidden where procfs is mounted with hidepid.",
     Name}};

constexpr WordFormat kScheduled[] = {
    {"Scheduled Wake", "The device will wake up"},
    {"Scheduled Wake or Power On", "It will wake up, or be switched on when it is off"},
    {"Power On from Off state", "It will be switched on"},
    {"Scheduled Sleep", "It will go to sleep"},
    {"Scheduled Shutdown", "It will be switched off"},
    {"Scheduled Restart", "It will be restarted"}};
constexpr FieldFormat kSchedule[] = {
    {"event", Text, "", "What will happen; other texts are the system's own.",
     "Wakes and the login manager's planned shutdowns and restarts only.", Harmless, kScheduled},
    {"id", Text, "", "Who wants it.",
     "\"logind\" for shutdown and restart, the unit's name for timers with WakeSystem=yes, the "
     "clock's name for alarms of a real-time clock, as the kernel does not tell who has set one.",
     Name},
    {"time", DateTime, "", "When it will happen.", "From the same sources."}};

constexpr WordFormat kSleepEvents[] = {
    {"can_sleep", "The system asks whether it may sleep, and was told that it may"},
    {"will_sleep", "The system goes to sleep now"},
    {"will_not_sleep", "Somebody else would not have it, and the device stays awake"}};
constexpr FieldFormat kSleep[] = {
    {"event", Word, "", "The step on the way to sleep.",
     "will_sleep only, when the login manager announces it; a sleep that nobody asks the login "
     "manager for is not seen.",
     Harmless, kSleepEvents}};

constexpr FieldFormat kThermal[] = {
    {"level", Integer, "", "How far the device holds itself back against heat; 0 is not at all.",
     "0 to 100: the strongest throttling of a cooling device at a passive trip point, in percent "
     "of its most."},
    {"*", Real, "",
     "A sensor's temperature in degrees Celsius; the key is \"s\", the number of its group of "
     "four, \".\" and its number there.",
     "s0.0 is thermal zone 0, s1.3 zone 7, up to s5.3, zone 23; the zone's type says what it "
     "measures. Temperatures that are not above 1 and below 320 degrees are left out."}};

constexpr WordFormat kNoInfo[] = {{"<none>", "It was not the modem"}};
constexpr FieldFormat kWake[] = {
    {"reason", Text, "",
     "What the kernel says woke the device; <unknown> when it does not say. One that holds "
     "\"baseband\", \"radios\", \"exton(bb)\" or \"exton2(bb)\" is the modem.",
     "The wakeup reasons of Android kernels, else the interrupt (kernels with "
     "CONFIG_PM_SLEEP_DEBUG), else the wakeup source that spoke up; \"baseband\" is put before "
     "it when it was the modem's."},
    {"info", Text, "",
     "The modem's own text about the wake: the packet's bytes, the call or the message; (null) "
     "when it cannot be had.",
     "Made from the first packet that came in with the wake, which needs CAP_NET_RAW, or from a "
     "call or message that ModemManager tells.",
     Content, kNoInfo}};

constexpr EntryFormat kEntries[] = {
    {"Assertion", EntryShape::Fields,
     "Who keeps the device awake: a power assertion, on Linux a blocking inhibitor lock.",
     "In a snapshot and with the level, one for each that is held; whenever one is made or given "
     "back.",
     "Which programs are in use, and by their names what for: a call, a film, a download.",
     kAssertion},
    {"Battery", EntryShape::Fields,
     "The battery's state. On Linux that of the first battery in /sys/class/power_supply, whose "
     "files are named below; a device without has no such entries.",
     "In a snapshot, and whenever the battery's driver tells a change.",
     "When the device was charged, and so the habits of its owner.", kBattery},
    {"Config", EntryShape::Fields, "The device and its set-up.", "In a snapshot.",
     "The model and system of the device, a key that is always the same for it, and what its "
     "kernel's arguments hold.",
     kConfig},
    {"Display", EntryShape::Fields,
     "The display's backlight. On Linux one in /sys/class/backlight, whose files are named below; "
     "a device without has no such entries.",
     "In a snapshot, and when the brightness changes.", "When somebody looked at the device.",
     kDisplay},
    {"ProcessMonitor", EntryShape::Fields,
     "The processes by the CPU time that they have used, busiest first, at most 999.",
     "In a snapshot and with the level.", "All programs that run, by name, and how much.",
     kProcesses},
    {"Schedule", EntryShape::Fields, "What will wake, restart or shut down the device.",
     "In a snapshot and whenever the device goes to sleep, one for each.",
     "When the owner gets up, and which program wakes the device.", kSchedule},
    {"Sleep", EntryShape::Fields, "The device's way to sleep.", "At each step.",
     "When the device was not in use.", kSleep},
    {"Thermal", EntryShape::Fields,
     "How warm the device is, and what it does about it. On Linux from /sys/class/thermal.",
     "In a snapshot, and when the thermal level changes.", "", kThermal},
    {"Wake", EntryShape::Fields, "The end of a sleep.", "At each wake.",
     "Raw bytes of the packet that woke the device, with the addresses of both ends.", kWake}};

}  // namespace

std::span<const EntryFormat> power() {
  return kEntries;
}

}  // namespace zorva::logformat
