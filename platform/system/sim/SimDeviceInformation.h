// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>

#include "platform/scenario/SimParts.h"
#include "platform/system/DeviceInformation.h"

namespace zorva {

class SimDeviceInformation : public DeviceInformation {
 public:
  explicit SimDeviceInformation(SimParts& parts);

  Value answer(const std::string& key) override {
    return answerFault_.strikes() ? Value() : answers_[key];
  }

  /// An empty value removes the key.
  void setAnswer(const std::string& key, Value answer) { answers_.set(key, std::move(answer)); }

 private:
  SimFaultPoint answerFault_;
  Dictionary answers_;
};

}  // namespace zorva
