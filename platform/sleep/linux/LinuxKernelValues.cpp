// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/LinuxKernelValues.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/base/Text.h"
#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {

LinuxKernelValues::LinuxKernelValues(std::function<std::vector<std::string>()> modemDevices,
                                     std::string sysfs, std::string procfs)
    : modemDevices_(std::move(modemDevices)),
      sysfs_(std::move(sysfs)),
      procfs_(std::move(procfs)) {}

std::optional<std::string> LinuxKernelValues::value(const std::string& name) const {
  if (name == "kern.wakereason") return awake_ ? reason_ : wakeReason(readEvidence());
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
  beforeSleep_ = readWakeupBaseline(sysfs_);
  modemsBeforeSleep_ = modems();
  awake_ = false;
}

bool LinuxKernelValues::systemDidWake() {
  const WakeEvidence evidence = readEvidence();
  reason_ = wakeReason(evidence);
  awake_ = true;
  beforeSleep_.reset();
  return modemWoke(evidence);
}

WakeEvidence LinuxKernelValues::readEvidence() const {
  std::set<std::string> paths = modems();
  paths.insert(modemsBeforeSleep_.begin(), modemsBeforeSleep_.end());
  return readWakeEvidence(sysfs_, beforeSleep_, paths);
}

std::set<std::string> LinuxKernelValues::modems() const {
  if (!modemDevices_) return {};
  const std::vector<std::string> paths = modemDevices_();
  return {paths.begin(), paths.end()};
}

}  // namespace zorva
