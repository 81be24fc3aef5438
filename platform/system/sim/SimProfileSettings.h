// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>

#include "platform/scenario/SimParts.h"
#include "platform/system/ProfileSettings.h"

namespace zorva {

class SimProfileSettings : public ProfileSettings {
 public:
  explicit SimProfileSettings(SimParts& parts);

  Value effectiveValue(const std::string& setting) override {
    return effectiveValueFault_.strikes() ? Value() : values_[setting];
  }

  /// An empty value removes the setting.
  void setEffectiveValue(const std::string& setting, Value value) {
    values_.set(setting, std::move(value));
  }

 private:
  SimFaultPoint effectiveValueFault_;
  Dictionary values_;
};

}  // namespace zorva
