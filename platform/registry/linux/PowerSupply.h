// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <span>
#include <string>

#include "platform/base/Value.h"
#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {

/// A charge or an energy.
struct ChargeFigure {
  double milliampereHours;
  double raw;  ///< in uAh, or in uWh if it is an energy
  bool energy;
};

/// Which sign a battery's driver gives to its currents. The kernel's documentation wants a negative
/// sign while the battery discharges; many drivers report magnitudes, and some the opposite. Learnt
/// from what the driver says while the status settles the direction. Around a plugging the status
/// lags behind the current, so a sign that was seen several times is not doubted at once.
class CurrentSign {
 public:
  /// The driver's current as one that is negative while the battery discharges. In the units of
  /// `current`, any. `status` is the battery's status at the same moment.
  double withDirection(double current, const std::string& status);

 private:
  int negativeWhileDischarging_ = 0;  // how often it was so, less how often it was not; bounded
  bool negativeWhileCharging_ = false;
};

/// One battery at one moment. Figures that its driver does not have, or that are no plausible
/// number, are missing, so that a driver's nonsense never becomes a figure in the log.
/// docs/linux-battery.md lists the sources.
struct Battery {
  std::optional<ChargeFigure> now;
  std::optional<ChargeFigure> measuredFull;
  std::optional<ChargeFigure> design;
  std::optional<double> percent;         ///< 0 to 100
  std::optional<double> current;         ///< mA, negative while discharging
  std::optional<double> averageCurrent;  ///< mA, negative while discharging
  std::optional<double> voltage;         ///< mV
  std::optional<double> nominalVolts;    ///< at which charges and energies are converted
  std::optional<double> temperature;     ///< hundredths of a degree Celsius
  std::optional<double> cycles;
  std::string status;         ///< the kernel's word, such as "Discharging"
  std::string health;         ///< the kernel's word, such as "Overheat"
  std::string capacityLevel;  ///< the kernel's word, such as "Critical"

  /// The measured full charge or, without one, the design's.
  std::optional<ChargeFigure> full() const { return measuredFull ? measuredFull : design; }
};

Battery readBattery(const SysfsAttributes& attributes, CurrentSign& sign);

/// The batteries as one: charges and energies add up, the level is the share of the energy (of the
/// charge, if no voltages are known; the mean level, if no full charges are). The current is that
/// of the whole power at the voltage of the battery at work, which is the one with the largest
/// power. One that charges or discharges decides the status, and the weakest decides cycles and
/// health. A single battery stays as it is. At least one.
Battery combined(std::span<const Battery> batteries);

/// What the power source publishes. Without a battery nothing.
Dictionary powerSourceProperties(const Battery& battery);

}  // namespace zorva
