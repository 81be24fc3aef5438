// SPDX-License-Identifier: Apache-2.0
#include "platform/telephony/linux/LinuxTelephonyNotifications.h"

#include <algorithm>
#include <initializer_list>

namespace zorva {
namespace {

using namespace telephony;

bool sameCalls(const std::vector<Telephony::Call>& left,
               const std::vector<Telephony::Call>& right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](const auto& a, const auto& b) { return a.status == b.status; });
}

// Nothing for a value that is not known.
template <typename Content>
Value valueOf(const std::optional<Content>& content) {
  return content ? Value(*content) : Value();
}

}  // namespace

std::vector<TelephonyNews> telephonyNews(const ModemRecord& before, const ModemRecord& after) {
  std::vector<TelephonyNews> news;
  const auto post = [&](bool changed, const char* name,
                        std::initializer_list<Dictionary::Entry> values = {}) {
    if (!changed) return;
    Dictionary& information = news.emplace_back(name, Dictionary()).second;
    for (const auto& [key, value] : values) {
      if (!value.isNothing()) information.set(key, value);
    }
  };
  post(before.simStatus != after.simStatus, kSimStatusChange,
       {{kSimStatus, valueOf(after.simStatus)}});
  // Another technology is on another band; a radio that is switched off or on leaves or takes one.
  post(before.technology != after.technology || before.poweredOff != after.poweredOff,
       kRadioBandChange);
  post(!sameCalls(before.calls, after.calls), kCallStatusChange);
  // A strength that is no longer known is not reported.
  post(after.signal && before.signal != after.signal, kSignalStrength,
       {{kRawSignalStrength, valueOf(after.signal)}});
  post(before.registrationStatus != after.registrationStatus || before.home != after.home,
       kRegistrationStatusChanged,
       {{kRegistrationStatus, valueOf(after.registrationStatus)},
        {kInHomeCountry, valueOf(after.home)}});
  post(before.operatorName != after.operatorName, kOperatorNameChanged,
       {{kOperatorName, valueOf(after.operatorName)}});
  post(before.cell != after.cell || before.area != after.area, kCellChanged,
       {{kCellID, valueOf(after.cell)}, {kLocationAreaCode, valueOf(after.area)}});
  const bool wasActive = before.dataContexts > 0, active = after.dataContexts > 0;
  post(before.dataAttached != after.dataAttached || wasActive != active ||
           before.dataIndicator != after.dataIndicator,
       kDataStatusChanged,
       {{kDataAttached, after.dataAttached},
        {kDataActive, active},
        {kDataIndicator, valueOf(after.dataIndicator)}});
  return news;
}

LinuxTelephonyNotifications::LinuxTelephonyNotifications(ModemManagerClient& client)
    : client_(client), reported_(client.modem()) {
  registrations_.push_back(client_.observeRestart([this] { post(kDaemonRestart, {}); }));
  registrations_.push_back(client_.observe([this] { recordChanged(); }));
}

Registration LinuxTelephonyNotifications::observe(const std::string& name, Callback callback) {
  return observers_[name].add(std::move(callback));
}

void LinuxTelephonyNotifications::post(const std::string& name, const Dictionary& information) {
  if (const auto found = observers_.find(name); found != observers_.end()) {
    auto observers = found->second;  // shares them; a callback may add another name
    observers.notify(name, information);
  }
}

void LinuxTelephonyNotifications::recordChanged() {
  const ModemRecord before = std::exchange(reported_, client_.modem());
  for (const auto& [name, information] : telephonyNews(before, reported_)) post(name, information);
}

}  // namespace zorva
