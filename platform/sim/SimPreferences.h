#pragma once

#include <map>
#include <string>
#include <utility>

#include "platform/PreferencesStore.h"
#include "platform/sim/SimParts.h"

namespace zorva {

class SimPreferences : public PreferencesStore {
 public:
  explicit SimPreferences(SimParts& parts);

  Value value(const Scope& scope, const std::string& key) override {
    return valueFault_.strikes() ? Value() : domains_[{scope.domain, scope.user}][key];
  }
  void setValue(const Scope& scope, const std::string& key, Value value) override {
    domains_[{scope.domain, scope.user}].set(key, std::move(value));
  }
  bool synchronize(const Scope&) override { return !synchronizeFault_.strikes(); }

 private:
  SimFaultPoint valueFault_;
  SimFaultPoint synchronizeFault_;
  std::map<std::pair<std::string, std::string>, Dictionary> domains_;
};

}  // namespace zorva
