// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace zorva {

/// The charge, in the maximum's unit, raised by as little as it takes for its readers to see at
/// least that level: they compute charge * 100.0 / maximum in double arithmetic, which can fall
/// short of a whole percent by the last bit. `maximum` is above 0, `percent` at least 0.
double raisedToLevel(double charge, double percent, double maximum);

/// The charge at that level, in the maximum's unit.
inline double chargeOfLevel(double percent, double maximum) {
  return raisedToLevel(percent * maximum / 100.0, percent, maximum);
}

}  // namespace zorva
