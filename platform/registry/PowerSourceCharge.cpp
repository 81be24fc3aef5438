// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/PowerSourceCharge.h"

#include <cmath>
#include <limits>

namespace zorva {

double raisedToLevel(double charge, double percent, double maximum) {
  // Some rounding steps at most; a level that no charge reaches is no reason to go further.
  for (int step = 0; step < 8 && charge * 100.0 / maximum < percent; ++step) {
    charge = std::nextafter(charge, std::numeric_limits<double>::infinity());
  }
  return charge;
}

}  // namespace zorva
