// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "platform/scenario/SimParts.h"
#include "platform/system/ProcessIdentity.h"

namespace zorva {

/// In whose name the daemon acts on the handset: at first in that of a user of its own, so that it
/// is not "mobile", for every user who runs this.
class SimProcessIdentity : public ProcessIdentity {
 public:
  static constexpr std::uint32_t kDaemon = 4000000000;

  explicit SimProcessIdentity(SimParts& parts);

  std::uint32_t effectiveUser() override { return user_; }
  int setEffectiveUser(std::uint32_t user) override;

  /// Before the daemon starts.
  void start(std::uint32_t user) { user_ = user; }

  /// The users that were asked for since the last call, refused ones too.
  std::vector<std::uint32_t> takeRequests() { return std::exchange(requests_, {}); }

 private:
  SimFaultPoint setEffectiveUserFault_;
  std::uint32_t user_ = kDaemon;
  std::vector<std::uint32_t> requests_;
};

}  // namespace zorva
