// SPDX-License-Identifier: Apache-2.0
#include "platform/scenario/EnergyAccount.h"

#include <algorithm>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::int64_t kMillion = 1000000;

// rate * count / 10^6; the rest in millionths is carried from call to call. The product alone can
// be larger than 64 bits.
std::int64_t product(std::int64_t rate, std::int64_t count, std::int64_t& rest) {
  const std::int64_t small = (rate % kMillion) * (count % kMillion) + rest;
  rest = small % kMillion;
  return rate * (count / kMillion) + (rate / kMillion) * (count % kMillion) + small / kMillion;
}

// A quotient rounded to the nearest whole number, halves away from 0.
std::int64_t rounded(std::int64_t dividend, std::int64_t divisor) {
  return (dividend < 0 ? dividend - divisor / 2 : dividend + divisor / 2) / divisor;
}

// "-12.0345" for -120345 with four decimals.
std::string decimal(std::int64_t figure, int decimals) {
  std::int64_t unit = 1;
  for (int i = 0; i < decimals; ++i) unit *= 10;
  const std::int64_t size = figure < 0 ? -figure : figure;
  return formatText("%s%lld.%0*lld", figure < 0 ? "-" : "", static_cast<long long>(size / unit),
                    decimals, static_cast<long long>(size % unit));
}

std::string nameOf(const EnergyCause& cause) {
  switch (cause.kind) {
    case EnergyCause::Kind::Asleep:
      return "asleep";
    case EnergyCause::Kind::Awake:
      return "awake";
    case EnergyCause::Kind::Off:
      return "off";
    case EnergyCause::Kind::Display:
      return "display";
    case EnergyCause::Kind::Process:
      return formatText("process %d %s", cause.pid, safeText(cause.name).c_str());
    case EnergyCause::Kind::Wifi:
      return "wifi";
    case EnergyCause::Kind::Modem:
      return "modem";
    case EnergyCause::Kind::Audio:
      return "audio";
  }
  return "";
}

}  // namespace

EnergyAccount::EnergyAccount(std::int64_t percent, std::int64_t charge)
    : percent_(percent), start_(std::clamp<std::int64_t>(charge, 0, full())), charge_(start_) {}

EnergyAccount::Use& EnergyAccount::note(const EnergyCause& cause, std::int64_t rate,
                                        std::int64_t count, bool asleep) {
  const auto found = uses_.try_emplace(cause).first;
  Use& use = found->second;
  noted_.push_back({&found->first, &use, product(rate, count, use.rest), asleep});
  return use;
}

void EnergyAccount::draw(const EnergyCause& cause, std::int64_t microwatts, Duration time,
                         bool asleep) {
  Use& use = note(cause, microwatts, time.count(), asleep);
  use.time = use.time.value_or(Duration(0)) + time;
}

void EnergyAccount::drawBytes(const EnergyCause& cause, std::int64_t perMillion, std::int64_t bytes,
                              bool asleep) {
  note(cause, perMillion, bytes, asleep);
}

void EnergyAccount::settle(std::int64_t chargerMicrowatts, Duration time) {
  std::int64_t supply = product(chargerMicrowatts, time.count(), suppliedRest_);
  if (chargerMicrowatts > 0) connected_ += time;
  if (chargerMicrowatts > 0 && time == Duration(0) && isFull()) {
    for (const Noted& each : noted_) supply += each.microjoules;
  }
  const std::int64_t before = charge_;
  std::int64_t available = charge_ + supply;
  std::vector<std::pair<const EnergyCause*, std::int64_t>> booked;
  std::int64_t used = 0;
  for (const Noted& each : std::exchange(noted_, {})) {
    const std::int64_t granted = std::min(each.microjoules, available);
    available -= granted;
    used += granted;
    each.use->microjoules += granted;
    (each.asleep ? usedAsleep_ : usedAwake_) += granted;
    if (granted > 0) booked.emplace_back(each.cause, granted);
  }
  charge_ = std::min(available, full());
  supplied_ += charge_ - before + used;
  if (chargerMicrowatts > 0) usedConnected_ += used;
  if (charge_ < before && wholePercentBelow(before) >= charge_) reached_ = true;
  if (charge_ > before && charge_ / percent_ > before / percent_) reached_ = true;
  for (const auto& [cause, microjoules] : booked) used_.notify(*cause, microjoules);
}

void EnergyAccount::set(std::int64_t charge) {
  charge = std::clamp<std::int64_t>(charge, 0, full());
  set_ += charge - charge_;
  charge_ = charge;
  reached_ = false;
}

std::int64_t EnergyAccount::hundredths() const {
  return rounded(charge_ * 100, percent_);
}

std::optional<EnergyAccount::Duration> EnergyAccount::timeToWholePercent(
    std::int64_t microwatts) const {
  if (microwatts == 0 || (microwatts < 0 ? isEmpty() : isFull())) return std::nullopt;
  const std::int64_t way =
      microwatts < 0 ? charge_ - wholePercentBelow(charge_) : percent_ - charge_ % percent_;
  const std::int64_t speed = microwatts < 0 ? -microwatts : microwatts;
  return Duration((way * kMillion + speed - 1) / speed);
}

std::string EnergyAccount::row(std::optional<Duration> time, std::int64_t microjoules,
                               const std::string& name) const {
  constexpr std::int64_t kMicrojoulesPerMicrowattHour = 3600;
  const std::int64_t percent =
      microjoules / percent_ * 10000 + rounded(microjoules % percent_ * 10000, percent_);
  return formatText("%15s %15s %12s %9s  %s\n", time ? decimal(time->count(), 6).c_str() : "-",
                    decimal(microjoules, 6).c_str(),
                    decimal(rounded(microjoules, kMicrojoulesPerMicrowattHour), 6).c_str(),
                    decimal(percent, 4).c_str(), name.c_str());
}

std::string EnergyAccount::table() const {
  std::string table =
      formatText("%15s %15s %12s %9s  %s\n", "seconds", "joules", "Wh", "percent", "cause");
  for (const auto& [cause, use] : uses_) table += row(use.time, use.microjoules, nameOf(cause));
  const auto timeOf = [this](EnergyCause::Kind kind) {
    const auto found = uses_.find({kind});
    return found == uses_.end() ? Duration(0) : *found->second.time;
  };
  const Duration asleep = timeOf(EnergyCause::Kind::Asleep);
  const Duration awake = timeOf(EnergyCause::Kind::Awake);
  table += row(asleep, usedAsleep_, "total asleep");
  table += row(awake, usedAwake_, "total awake");
  table += row(asleep + awake + timeOf(EnergyCause::Kind::Off), usedAsleep_ + usedAwake_, "total");
  table += row(connected_, usedConnected_, "total on the charger");
  table += row(connected_, supplied_, "from the charger");
  table += row(std::nullopt, set_, "set by the scenario");
  table += row(std::nullopt, start_, "battery at the start");
  table += row(std::nullopt, charge_, "battery at the end");
  return table;
}

}  // namespace zorva
