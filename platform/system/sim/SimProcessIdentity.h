// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "platform/scenario/SimParts.h"
#include "platform/system/ProcessIdentity.h"

namespace zorva {

/// The daemon's effective user on the handset: initially a user of its own, so that it is never
/// "mobile", regardless of the user who runs this program.
class SimProcessIdentity : public ProcessIdentity {
 public:
  static constexpr std::uint32_t kDaemon = 4000000000;

  explicit SimProcessIdentity(SimParts& parts);

  std::uint32_t effectiveUser() override { return user_; }
  int setEffectiveUser(std::uint32_t user) override;

  /// Before the daemon starts.
  void start(std::uint32_t user) { user_ = user; }

  /// The users requested since the last call, including refused ones.
  std::vector<std::uint32_t> takeRequests() { return std::exchange(requests_, {}); }

 private:
  SimFaultPoint setEffectiveUserFault_;
  std::uint32_t user_ = kDaemon;
  std::vector<std::uint32_t> requests_;
};

}  // namespace zorva
