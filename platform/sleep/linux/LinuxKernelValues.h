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
/// evidence is gathered by systemDidWake() and holds until the next wake.
class LinuxKernelValues : public KernelValues {
 public:
  /// `modemDevices` answers the sysfs paths of the modems' devices; may be empty.
  explicit LinuxKernelValues(std::function<std::vector<std::string>()> modemDevices = {},
                             std::string sysfs = "/sys", std::string procfs = "/proc");

  int sizeOf(const std::string& name, std::size_t& size) override;
  int read(const std::string& name, std::span<char> buffer, std::size_t& filled) override;

  /// Notes how often what can wake the system has spoken up. Called while the system waits to
  /// sleep: a few small files per wakeup source, one per event of the firmware's.
  void systemWillSleep();
  /// Answers whether a modem woke the system. `prepared`: systemWillSleep() was called for this
  /// sleep; otherwise only what has just spoken up for the first time since the last wake counts.
  bool systemDidWake(bool prepared);

 private:
  std::optional<std::string> value(const std::string& name) const;
  WakeEvidence readEvidence(const std::optional<WakeupBaseline>& before) const;
  std::set<std::string> modems() const;

  std::function<std::vector<std::string>()> modemDevices_;
  std::string sysfs_;
  std::string procfs_;
  WakeupBaseline before_;  ///< as the system went to sleep, else at the last wake or the start
  std::set<std::string> modemsBeforeSleep_;  ///< one may be gone when it has woken the system
  bool woken_ = false;
  std::optional<std::string> reason_;  ///< of the last wake
};

}  // namespace zorva
