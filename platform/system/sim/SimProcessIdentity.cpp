// SPDX-License-Identifier: Apache-2.0
#include "platform/system/sim/SimProcessIdentity.h"

#include <cerrno>

namespace zorva {
namespace {

constexpr std::uint32_t kMaxId = 0xFFFFFFFE;  // the one above means "no id"

}  // namespace

SimProcessIdentity::SimProcessIdentity(SimParts& parts)
    : setEffectiveUserFault_(parts.faults, "identity.setEffectiveUser", EPERM) {
  parts.sections.addStart("effective_user", [this](const ScenarioNode& node) -> ScenarioAction {
    const auto user = static_cast<std::uint32_t>(node.integer(0, kMaxId));
    return [this, user] { start(user); };
  });
}

int SimProcessIdentity::setEffectiveUser(std::uint32_t user) {
  requests_.push_back(user);
  if (const auto error = setEffectiveUserFault_.struckResult<int>()) return *error;
  if (user > kMaxId) return EINVAL;
  user_ = user;
  return 0;
}

}  // namespace zorva
