// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace zorva {

/// The device's users.
class AccountDatabase {
 public:
  virtual ~AccountDatabase() = default;

  struct Ids {
    uid_t user;
    gid_t group;
  };

  /// The ids of the named user, or nothing if there is no such user.
  virtual std::optional<Ids> idsOfUser(const std::string& name) = 0;
  /// The name of the user, or nothing if the id is unknown.
  virtual std::optional<std::string> nameOfUser(uid_t user) = 0;
};

}  // namespace zorva
