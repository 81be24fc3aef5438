// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/system/AccountDatabase.h"

namespace zorva {

/// The password database of the name service.
class LinuxAccountDatabase : public AccountDatabase {
 public:
  std::optional<Ids> idsOfUser(const std::string& name) override;
  std::optional<std::string> nameOfUser(uid_t user) override;
};

}  // namespace zorva
