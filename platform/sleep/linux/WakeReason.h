// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

// Why the system woke: what the kernel keeps of it, and what it comes to.
namespace zorva {

/// How often a wakeup source, a thing that can wake the system, has spoken up.
struct WakeupCounts {
  std::string name;
  std::int64_t events = 0;       ///< signalled since the source was made
  std::int64_t wakeups = 0;      ///< of them, those that would have kept the system from sleeping
  std::int64_t totalTimeMs = 0;  ///< for which it has kept the system awake
};
struct WakeupBaseline {
  /// By the source's entry in the kernel's list ("wakeup7").
  std::map<std::string, WakeupCounts> sources;
  /// By the event's name in the kernel's list ("gpe6E", "ff_pwr_btn"); empty without ACPI, and when
  /// they are not known.
  std::map<std::string, std::int64_t> firmwareEvents;
  /// A source that last spoke up before that does not count, by the clock that stands still during
  /// sleep.
  std::int64_t sinceMs = 0;
};

/// A wakeup source that has spoken up.
struct WakeupSource {
  std::string name;
  std::string device;          ///< canonical path in sysfs; empty for a source without a device
  std::string driver;          ///< of the device; empty where it has none
  bool wakeup = false;         ///< the kernel counted it as one that keeps from sleeping
  std::int64_t spokeUpMs = 0;  ///< by the clock that stands still during sleep
};

/// An interrupt that woke the system.
struct WakeInterrupt {
  std::int64_t number = 0;
  std::string name;  ///< its handlers, joined by commas; empty when unknown
  std::string chip;  ///< the controller that it arrives at; empty when unknown
};

/// A modem's device.
struct ModemDevice {
  std::string path;                   ///< canonical, in sysfs
  std::set<std::int64_t> interrupts;  ///< its own, where the bus has such
  /// Those of the devices that it hangs on (a host controller, a bridge), which they share with
  /// others there.
  std::set<std::int64_t> sharedInterrupts;
  std::set<std::string> drivers;  ///< its own and those of the devices right below it
};

/// All the evidence of why the system woke.
struct WakeEvidence {
  std::string resumeReason;                     ///< the kernel's own text; empty when it has none
  std::vector<WakeInterrupt> resumeInterrupts;  ///< those named in it
  std::optional<WakeInterrupt> interrupt;       ///< the one that ended the sleep
  std::vector<std::string> firmwareEvents;      ///< that occurred since, if it is the firmware's
  std::vector<WakeupSource> sources;            ///< that signalled since, most likely cause first
  std::vector<ModemDevice> modems;
};

/// The counts of the kernel below `sysfs` ("/sys").
WakeupBaseline readWakeupBaseline(const std::string& sysfs);

/// Gathers what is to be known right after a wake. `before`: how it was as the system went to
/// sleep, nothing when that was missed; without it no source is blamed.
WakeEvidence readWakeEvidence(const std::string& sysfs, const std::optional<WakeupBaseline>& before,
                              const std::set<std::string>& modemPaths);

/// Whether a modem woke the system. An interrupt is the modem's when it is one of its device's own,
/// or its name says so. One that the modem shares with others, or that stands for any device
/// (ACPI) or processor (glink), is the modem's only when its wakeup source was the first to speak
/// up. Without an interrupt that source decides alone.
bool modemWoke(const WakeEvidence& evidence);

/// The reason in words: the kernel's own, else the interrupt ("rtc0 irq 8 IO-APIC"), with the
/// events and the first source when it is the firmware's ("acpi irq 9 IO-APIC, gpe17, PNP0C0D:00
/// (button) wakeup source"), with the first source when it is that of any processor, else the
/// source alone; led by "baseband" when a modem was it. Nothing
/// when the kernel does not report it. Fit for a line of text, at most 255 bytes.
std::optional<std::string> wakeReason(const WakeEvidence& evidence);

}  // namespace zorva
