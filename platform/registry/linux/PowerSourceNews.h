// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "platform/base/Value.h"

namespace zorva {

/// Decides which states of the power source are news, and learns from what moved when whether its
/// driver sends events.
///
/// A new charging state, health, presence or whole percent is news at once. A mere drift of figures
/// is news only if the driver itself sent an event, and at most once in kBetweenDrifts; until then
/// the last state is held. So is a level that swings to and fro across a whole percent.
class PowerSourceNews {
 public:
  using Time = std::chrono::steady_clock::time_point;

  static constexpr std::chrono::seconds kBetweenDrifts{60};

  enum class Occasion {
    OwnEvent,  ///< the battery's driver sent an event
    Look,      ///< the state was read for another reason
    Held,      ///< heldUntil() has come
  };
  enum class Driver {
    Unproven,
    Eventful,  ///< a new percent came with an event of its own; a look may see the next one first
    Silent,    ///< the level moved, while awake, without an event of its own
  };

  /// `state` is what the power source publishes, empty while there is no battery. It counts as
  /// reported already.
  explicit PowerSourceNews(const Dictionary& state,
                           std::chrono::microseconds betweenDrifts = kBetweenDrifts);

  /// Whether the state is to be reported. `slept`: the system was asleep since the last call, when
  /// no driver sends events.
  bool isNews(Occasion occasion, const Dictionary& state, bool slept, Time now);

  /// When a drift that was held back is to be reported.
  std::optional<Time> heldUntil() const { return heldUntil_; }
  Driver driver() const { return driver_; }

 private:
  struct Meaning {
    bool present;
    Value charging, full, critical, chargeStatus;
    std::uint32_t percent;
    bool operator==(const Meaning&) const = default;
  };
  static Meaning meaningOf(const Dictionary& state);
  bool swings(const Meaning& meaning) const;
  void learn(Occasion occasion, const Meaning& seen, bool slept);

  std::chrono::microseconds betweenDrifts_;
  Dictionary reported_;
  Meaning reportedMeaning_;
  Meaning seen_;                             // at the last call
  std::uint32_t announced_;                  // percent at the driver's last event
  std::optional<std::uint32_t> swingsBack_;  // the percent reported before the last one
  int swings_ = 0;                           // how often it went back there in a short time
  std::optional<Time> reportedAt_;
  std::optional<Time> heldUntil_;
  Driver driver_ = Driver::Unproven;
};

}  // namespace zorva
