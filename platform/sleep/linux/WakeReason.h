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

/// How often the wakeup sources, the things that can wake the system, have spoken up.
struct WakeupCounts {
  std::string name;
  std::int64_t events = 0;   ///< signalled since the source was made
  std::int64_t wakeups = 0;  ///< of them, those that would have kept the system from sleeping
};
/// By the source's entry in the kernel's list ("wakeup7").
using WakeupBaseline = std::map<std::string, WakeupCounts>;

/// A wakeup source that has spoken up.
struct WakeupSource {
  std::string name;
  std::string device;             ///< canonical path in sysfs; empty for a source without a device
  std::string driver;             ///< of the device; empty where it has none
  bool wakeup = false;            ///< the kernel counted it as one that keeps from sleeping
  std::int64_t lastChangeMs = 0;  ///< of the clock that stands still during sleep
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
  std::vector<WakeupSource> sources;            ///< that signalled since, most likely cause first
  std::vector<ModemDevice> modems;
};

/// The wakeup sources of the kernel below `sysfs` ("/sys").
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

/// The reason in words: the kernel's own, else the interrupt ("rtc0 irq 8 IO-APIC"), with the first
/// source when it is the firmware's ("acpi irq 9 IO-APIC, PNP0C0D:00 (button) wakeup source") or
/// that of any processor, else the source alone; led by "baseband" when a modem was it. Nothing
/// when the kernel does not report it. Fit for a line of text, at most 255 bytes.
std::optional<std::string> wakeReason(const WakeEvidence& evidence);

}  // namespace zorva
