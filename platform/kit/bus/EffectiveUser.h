// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <sys/types.h>
#include <unistd.h>

namespace zorva {

/// The process's effective user, as long as this lives. Root may become any user; the real and the
/// saved user stay root's, so that the user can neither signal nor trace the process.
class EffectiveUser {
 public:
  explicit EffectiveUser(uid_t user)
      : own_(::geteuid()), switched_(own_ == user || ::seteuid(user) == 0) {}
  EffectiveUser(EffectiveUser&&) = delete;  // nor copied
  ~EffectiveUser() {
    // The saved user may always come back. If it could not, what follows would run as another user.
    if (::geteuid() != own_ && ::seteuid(own_) != 0) std::abort();
  }
  bool switched() const { return switched_; }

 private:
  uid_t own_;
  bool switched_;
};

}  // namespace zorva
