// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Observers.h"

namespace zorva {

/// What uses energy.
struct EnergyCause {
  enum class Kind { Asleep, Awake, Off, Display, Process, Wifi, Modem, Audio };
  Kind kind;
  std::int32_t pid = 0;   ///< of a process
  std::string name = {};  ///< of a process
  auto operator<=>(const EnergyCause&) const = default;
};

/// The charge of a battery, and what each cause took from it. Counts in whole microjoules; what is
/// less is kept for the next time. At any time
///
///     charge at the start + from the charger + set - used by all causes = charge
class EnergyAccount {
 public:
  using Duration = std::chrono::microseconds;

  /// `percent` is what one percent of the full battery holds. Microjoules.
  EnergyAccount(std::int64_t percent, std::int64_t charge);

  /// Notes that a cause used so many microwatts for so long. settle() books it.
  void draw(const EnergyCause& cause, std::int64_t microwatts, Duration time, bool asleep);
  /// The same for what is counted in bytes, with microjoules per million of them.
  void drawBytes(const EnergyCause& cause, std::int64_t perMillion, std::int64_t bytes,
                 bool asleep);

  /// Books what was noted, after a charger has supplied at most so many microwatts for so long. No
  /// more is used than there is, and no more is supplied than is used or makes the battery full.
  /// What happened in no time is taken from the battery, or from the charger if it is full.
  void settle(std::int64_t chargerMicrowatts, Duration time);

  /// Sets the charge, whatever it was.
  void set(std::int64_t charge);

  std::int64_t charge() const { return charge_; }
  bool isFull() const { return charge_ == full(); }
  bool isEmpty() const { return charge_ == 0; }
  /// The level in hundredths of a percent, rounded.
  std::int64_t hundredths() const;

  /// How long it takes until the charge reaches the next whole percent, at so many microwatts,
  /// negative while it falls; nothing if it never does.
  std::optional<Duration> timeToWholePercent(std::int64_t microwatts) const;
  /// Whether a whole percent was reached since the last call of takeReached().
  bool hasReached() const { return reached_; }
  bool takeReached() { return std::exchange(reached_, false); }

  /// Calls back with the microjoules of each cause as they are booked, such as for a counter of
  /// energy.
  Registration observeUse(std::function<void(const EnergyCause&, std::int64_t)> used) {
    return used_.add(std::move(used));
  }

  /// All that was booked, as a table (docs/scenarios.md describes it).
  std::string table() const;

 private:
  struct Use {
    std::int64_t microjoules = 0;
    std::int64_t rest = 0;           ///< millionths of a microjoule, noted
    std::optional<Duration> time{};  ///< none of what is counted in bytes
  };
  struct Noted {
    const EnergyCause* cause;
    Use* use;
    std::int64_t microjoules;
    bool asleep;
  };

  std::int64_t full() const { return percent_ * 100; }
  /// The greatest whole percent below a charge that is above 0, in microjoules.
  std::int64_t wholePercentBelow(std::int64_t charge) const {
    return (charge - 1) / percent_ * percent_;
  }
  Use& note(const EnergyCause& cause, std::int64_t rate, std::int64_t count, bool asleep);
  std::string row(std::optional<Duration> time, std::int64_t microjoules,
                  const std::string& name) const;

  std::int64_t percent_;
  std::int64_t start_;
  std::int64_t charge_;
  std::int64_t supplied_ = 0;
  std::int64_t suppliedRest_ = 0;
  Duration connected_{0};  ///< to the charger
  std::int64_t set_ = 0;   ///< the sum of the changes by set()
  std::int64_t usedAsleep_ = 0;
  std::int64_t usedAwake_ = 0;
  std::int64_t usedConnected_ = 0;
  std::map<EnergyCause, Use> uses_;
  std::vector<Noted> noted_;
  bool reached_ = false;
  Observers<const EnergyCause&, std::int64_t> used_;
};

}  // namespace zorva
