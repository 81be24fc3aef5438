// SPDX-License-Identifier: Apache-2.0
#include "platform/system/sim/SimAccountDatabase.h"

namespace zorva {

SimAccountDatabase::SimAccountDatabase(SimParts& parts)
    : idsFault_(parts.faults, "accounts.idsOfUser"),
      nameFault_(parts.faults, "accounts.nameOfUser") {
  parts.sections.addBoth("users", [this](const ScenarioNode& users) {
    return eachEntryOf(
        users, [this](const ScenarioNode& key, const ScenarioNode& value) -> ScenarioAction {
          const std::string name = key.text();
          if (value.isNothing()) return [this, name] { removeUser(name); };
          const auto keys = value.keys({"user_id", "group_id"});
          constexpr std::int64_t kMaxId = 0xFFFFFFFE;  // the one above means "no id"
          const Ids ids{static_cast<uid_t>(keys.require("user_id").integer(0, kMaxId)),
                        static_cast<gid_t>(keys.require("group_id").integer(0, kMaxId))};
          return [this, name, ids] { setUser(name, ids); };
        });
  });
}

}  // namespace zorva
