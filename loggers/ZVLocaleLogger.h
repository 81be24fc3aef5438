// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "core/ZVLogger.h"
#include "platform/locale/LocaleInformation.h"

namespace zorva {

/// Logs the locale and the time zone, so that the log's wall-clock times can be read, at each
/// snapshot and whenever clock, zone or locale are changed:
///
///     11/16/26 14:07:16 [Locale] id=en_US; country=US; time_zone=PST; dst=no;
class ZVLocaleLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVLocaleLogger> logger(const Services& services,
                                                LocaleInformation& locale);

  void log() override;

 private:
  ZVLocaleLogger(const Services& services, LocaleInformation& locale);

  LocaleInformation& locale_;
};

}  // namespace zorva
