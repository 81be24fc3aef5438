// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <utility>

#include "platform/base/Observers.h"
#include "platform/telephony/TelephonyNotifications.h"

namespace zorva {

/// The telephony notification centre. A post reaches its observers before it returns.
class SimTelephonyNotifications : public TelephonyNotifications {
 public:
  Registration observe(const std::string& name, Callback callback) override {
    return observers_[name].add(std::move(callback));
  }

  void post(const std::string& name, const Dictionary& information = {}) {
    observers_[name].notify(name, information);
  }

 private:
  std::map<std::string, Observers<std::string_view, const Dictionary&>> observers_;
};

}  // namespace zorva
