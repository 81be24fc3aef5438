// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/scenario/SimParts.h"
#include "platform/system/AccountDatabase.h"

namespace zorva {

class SimAccountDatabase : public AccountDatabase {
 public:
  explicit SimAccountDatabase(SimParts& parts);

  std::optional<Ids> idsOfUser(const std::string& name) override {
    return idsFault_.strikes() ? std::nullopt : idsAsSet(name);
  }
  /// For the handset's own services; not affected by faults.
  std::optional<Ids> idsAsSet(const std::string& name) const {
    const auto user = users_.find(name);
    if (user == users_.end()) return std::nullopt;
    return user->second;
  }

  /// If several users share the id, the first in alphabetical order.
  std::optional<std::string> nameOfUser(uid_t id) override {
    if (nameFault_.strikes()) return std::nullopt;
    for (const auto& [name, ids] : users_) {
      if (ids.user == id) return name;
    }
    return std::nullopt;
  }

  void setUser(const std::string& name, Ids ids) { users_.insert_or_assign(name, ids); }
  void removeUser(const std::string& name) { users_.erase(name); }

 private:
  SimFaultPoint idsFault_;
  SimFaultPoint nameFault_;
  std::map<std::string, Ids> users_;
};

}  // namespace zorva
