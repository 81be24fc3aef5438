#pragma once

#include <memory>
#include <string>

#include "platform/DateFormatting.h"
#include "platform/sim/SimLocaleInformation.h"

namespace zorva {

/// Formats dates in the handset's locale and time zone at the moment of the call.
class SimDateFormatting : public DateFormatting {
 public:
  explicit SimDateFormatting(const SimLocaleInformation& locale) : locale_(locale) {}
  std::unique_ptr<DateFormatter> makeFormatter(const std::string& pattern) override;

 private:
  const SimLocaleInformation& locale_;
};

}  // namespace zorva
