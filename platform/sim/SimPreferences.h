#pragma once

#include <string>
#include <utility>

#include "platform/PreferencesStore.h"
#include "platform/sim/SimParts.h"
#include "platform/support/PropertyListPreferences.h"

namespace zorva {

/// The preferences in the handset's files.
class SimPreferences : public PreferencesStore {
 public:
  SimPreferences(SimParts& parts, const FileSystem& files, AccountDatabase& accounts,
                 SystemLog& systemLog);

  Value value(const Scope& scope, const std::string& key) override {
    return valueFault_.strikes() ? Value() : store_.value(scope, key);
  }
  void setValue(const Scope& scope, const std::string& key, Value value) override {
    store_.setValue(scope, key, std::move(value));
  }
  bool synchronize(const Scope& scope) override {
    return !synchronizeFault_.strikes() && store_.synchronize(scope);
  }

 private:
  PropertyListPreferences store_;
  SimFaultPoint valueFault_;
  SimFaultPoint synchronizeFault_;
};

}  // namespace zorva
