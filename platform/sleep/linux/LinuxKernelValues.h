// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/sleep/KernelValues.h"
#include "platform/sleep/linux/WakeReason.h"

namespace zorva {

/// "kern.bootargs": the kernel's command line. "kern.wakereason": why the system woke last
/// (docs/linux-sleep.md), from the best source that the kernel has; ENOENT when it has none.
///
/// What woke the system shows best right after the wake, before other devices are busy; so the
/// evidence is gathered by systemDidWake() and holds until the next sleep.
class LinuxKernelValues : public KernelValues {
 public:
  /// `modemDevices` answers the sysfs paths of the modems' devices; may be empty.
  explicit LinuxKernelValues(std::function<std::vector<std::string>()> modemDevices = {},
                             std::string sysfs = "/sys", std::string procfs = "/proc");

  int sizeOf(const std::string& name, std::size_t& size) override;
  int read(const std::string& name, std::span<char> buffer, std::size_t& filled) override;

  /// Notes how often what can wake the system has spoken up. Called while the system waits to
  /// sleep: a few small files per wakeup source.
  void systemWillSleep();
  /// Answers whether a modem woke the system.
  bool systemDidWake();

 private:
  std::optional<std::string> value(const std::string& name) const;
  WakeEvidence readEvidence() const;
  std::set<std::string> modems() const;

  std::function<std::vector<std::string>()> modemDevices_;
  std::string sysfs_;
  std::string procfs_;
  std::optional<WakeupBaseline> beforeSleep_;
  std::set<std::string> modemsBeforeSleep_;  ///< one may be gone when it has woken the system
  bool awake_ = false;                       ///< since a sleep that we know of
  std::optional<std::string> reason_;        ///< of that wake
};

}  // namespace zorva
