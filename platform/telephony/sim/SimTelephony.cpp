// SPDX-License-Identifier: Apache-2.0
#include "platform/telephony/sim/SimTelephony.h"

#include <algorithm>

namespace zorva {
namespace {

// What is not known is left out of a notification's information.
template <typename Item>
void setKnown(Dictionary& information, const char* key, const std::optional<Item>& item) {
  if (item) information.set(key, *item);
}

}  // namespace

SimTelephony::SimTelephony(SimParts& parts, SimTelephonyNotifications& notifications)
    : notifications_(notifications),
      callsFault_(parts.faults, "telephony.copyCurrentCalls"),
      signalFault_(parts.faults, "telephony.signalStrength"),
      simFault_(parts.faults, "telephony.simStatus"),
      indicatorFault_(parts.faults, "telephony.dataIndicator"),
      registrationFault_(parts.faults, "telephony.registrationStatus"),
      operatorFault_(parts.faults, "telephony.copyOperatorName") {}

std::optional<std::vector<Telephony::Call>> SimTelephony::copyCurrentCalls() {
  if (callsFault_.strikes()) return std::nullopt;
  std::vector<Call> calls;
  for (const auto& call : calls_) calls.push_back({call.second});
  return calls;
}

void SimTelephony::signalStrength(std::int32_t& raw, std::int32_t& graded, std::int32_t& bars) {
  if (signalFault_.strikes()) return;
  raw = signal_.raw.value_or(raw);
  graded = signal_.percent.value_or(graded);
  bars = signal_.bars.value_or(bars);
}

std::optional<std::string> SimTelephony::simStatus() {
  return simFault_.strikes() ? std::nullopt : simStatus_;
}

std::optional<std::string> SimTelephony::dataIndicator() {
  return indicatorFault_.strikes() ? std::nullopt : data_.indicator;
}

std::optional<std::string> SimTelephony::registrationStatus() {
  return registrationFault_.strikes() ? std::nullopt : network_.status;
}

std::optional<std::string> SimTelephony::copyOperatorName() {
  return operatorFault_.strikes() ? std::nullopt : operatorName_;
}

void SimTelephony::setCalls(const CallChanges& changes) {
  for (const auto& change : changes) {
    const std::int32_t id = change.first;
    const auto call =
        std::find_if(calls_.begin(), calls_.end(), [&](const auto& c) { return c.first == id; });
    if (!change.second) {
      if (call != calls_.end()) calls_.erase(call);
    } else if (call != calls_.end()) {
      call->second = *change.second;
    } else {
      calls_.emplace_back(id, *change.second);
    }
  }
  notifications_.post(telephony::kCallStatusChange);
}

bool SimTelephony::hasActiveCall() const {
  return std::any_of(calls_.begin(), calls_.end(), [](const auto& call) {
    return call.second == static_cast<std::int32_t>(CallStatus::Active);
  });
}

void SimTelephony::setSignal(const Signal& signal) {
  signal_ = signal;
  Dictionary information;
  if (signal.raw) information.set(telephony::kRawSignalStrength, std::int64_t{*signal.raw});
  notifications_.post(telephony::kSignalStrength, information);
}

void SimTelephony::setSimStatus(std::optional<std::string> status) {
  simStatus_ = std::move(status);
  Dictionary information;
  setKnown(information, telephony::kSimStatus, simStatus_);
  notifications_.post(telephony::kSimStatusChange, information);
}

void SimTelephony::setCell(const Cell& cell) {
  cell_ = cell;
  Dictionary information;
  setKnown(information, telephony::kCellID, cell.id);
  setKnown(information, telephony::kLocationAreaCode, cell.areaCode);
  notifications_.post(telephony::kCellChanged, information);
}

void SimTelephony::setNetwork(Network network) {
  network_ = std::move(network);
  Dictionary information;
  setKnown(information, telephony::kRegistrationStatus, network_.status);
  setKnown(information, telephony::kInHomeCountry, network_.home);
  notifications_.post(telephony::kRegistrationStatusChanged, information);
}

void SimTelephony::setData(Data data) {
  data_ = std::move(data);
  Dictionary information{{telephony::kDataAttached, data_.attached},
                         {telephony::kDataActive, data_.active}};
  setKnown(information, telephony::kDataIndicator, data_.indicator);
  notifications_.post(telephony::kDataStatusChanged, information);
}

void SimTelephony::setOperatorName(std::optional<std::string> name) {
  operatorName_ = std::move(name);
  Dictionary information;
  setKnown(information, telephony::kOperatorName, operatorName_);
  notifications_.post(telephony::kOperatorNameChanged, information);
}

}  // namespace zorva
