// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "platform/scenario/SimParts.h"
#include "platform/storage/PreferencesStore.h"
#include "platform/storage/PropertyListPreferences.h"

namespace zorva {

/// The preferences in the handset's files, and the defaults of the handset's other programs.
class SimPreferences : public PreferencesStore {
 public:
  SimPreferences(SimParts& parts, const FileSystem& files, AccountDatabase& accounts,
                 SystemLog& systemLog);

  Value value(const Scope& scope, const std::string& key) override {
    return valueFault_.strikes() ? Value() : storedOrFactoryValue(scope, key);
  }
  void setValue(const Scope& scope, const std::string& key, Value value) override {
    store_.setValue(scope, key, std::move(value));
  }
  bool synchronize(const Scope& scope) override {
    return !synchronizeFault_.strikes() && store_.synchronize(scope);
  }

  /// Returned if neither the file nor the scenario has a value for the key.
  void setFactoryValue(const Scope& scope, const std::string& key, Value value) {
    factoryValues_[{scope.domain, scope.user, key}] = std::move(value);
  }

 private:
  Value storedOrFactoryValue(const Scope& scope, const std::string& key);
  ScenarioAction readDomain(const std::string& domain, const ScenarioNode& settings);

  PropertyListPreferences store_;
  SimFaultPoint valueFault_;
  SimFaultPoint synchronizeFault_;
  std::map<std::tuple<std::string, std::string, std::string>, Value> factoryValues_;
};

}  // namespace zorva
