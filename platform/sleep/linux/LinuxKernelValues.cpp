// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/LinuxKernelValues.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/base/Text.h"
#include "platform/kit/files/SysfsAttributes.h"
#include "platform/kit/loop/ClockJumps.h"

namespace zorva {
namespace {

// How long before this process runs again a source may have ended the sleep, in milliseconds:
// resuming the devices takes some tenths of a second, on slow ones a few seconds.
constexpr std::int64_t kResumeMs = 5000;

}  // namespace

LinuxKernelValues::LinuxKernelValues(std::function<std::vector<std::string>()> modemDevices,
                                     std::string sysfs, std::string procfs)
    : modemDevices_(std::move(modemDevices)),
      sysfs_(std::move(sysfs)),
      procfs_(std::move(procfs)),
      before_(readWakeupBaseline(sysfs_)) {}

std::optional<std::string> LinuxKernelValues::value(const std::string& name) const {
  if (name == "kern.wakereason") return woken_ ? reason_ : wakeReason(readEvidence({}));
  if (name == "kern.bootargs") {
    const auto text = readAttribute(procfs_ + "/cmdline");
    return text ? std::optional(safeText(*text)) : std::nullopt;
  }
  return std::nullopt;
}

int LinuxKernelValues::sizeOf(const std::string& name, std::size_t& size) {
  const auto text = value(name);
  if (!text) return ENOENT;
  size = text->size() + 1;
  return 0;
}

int LinuxKernelValues::read(const std::string& name, std::span<char> buffer, std::size_t& filled) {
  const auto text = value(name);
  if (!text) return ENOENT;
  filled = std::min(buffer.size(), text->size() + 1);
  std::copy_n(text->c_str(), filled, buffer.begin());
  return 0;
}

void LinuxKernelValues::systemWillSleep() {
  before_ = readWakeupBaseline(sysfs_);
  modemsBeforeSleep_ = modems();
}

bool LinuxKernelValues::systemDidWake(bool prepared) {
  if (!prepared) {
    before_.firmwareEvents.clear();  // came at any time since the last wake
    before_.sinceMs = clockTime(CLOCK_MONOTONIC) / 1'000'000 - kResumeMs;
  }
  const WakeEvidence evidence = readEvidence(before_);
  reason_ = wakeReason(evidence);
  woken_ = true;
  before_ = readWakeupBaseline(sysfs_);
  return modemWoke(evidence);
}

WakeEvidence LinuxKernelValues::readEvidence(const std::optional<WakeupBaseline>& before) const {
  std::set<std::string> paths = modems();
  paths.insert(modemsBeforeSleep_.begin(), modemsBeforeSleep_.end());
  return readWakeEvidence(sysfs_, before, paths);
}

std::set<std::string> LinuxKernelValues::modems() const {
  if (!modemDevices_) return {};
  const std::vector<std::string> paths = modemDevices_();
  return {paths.begin(), paths.end()};
}

}  // namespace zorva
