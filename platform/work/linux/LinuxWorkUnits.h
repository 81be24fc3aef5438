// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "platform/work/WorkUnits.h"

namespace zorva {

/// The control groups of the unified hierarchy by the units of the service manager that they belong
/// to (docs/linux-energy.md).
///
/// A unit is one open, read and close of a small file, a slice two more of its directory.
class LinuxWorkUnits : public WorkUnits {
 public:
  /// The unified hierarchy's, wherever it is mounted; empty without one.
  static std::string usualRoot();

  explicit LinuxWorkUnits(std::string root = usualRoot()) : root_(std::move(root)) {}

  std::optional<std::vector<Unit>> units() override;

 private:
  using Microseconds = std::chrono::microseconds;
  struct Group;

  Microseconds readGroup(int parent, const Group& group, int depth);
  std::optional<Microseconds> readUsed(int directory, const char* path);

  std::string root_;
  std::vector<Unit> units_;
  // Kept from call to call, so that its memory is allocated once.
  alignas(std::uint64_t) std::array<char, 32768> entries_;
};

}  // namespace zorva
