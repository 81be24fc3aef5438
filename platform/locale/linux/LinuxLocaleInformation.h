// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <systemd/sd-event.h>
#include <vector>

#include "platform/base/Observers.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/kit/loop/LinuxPathWatch.h"
#include "platform/locale/LocalDateFormatting.h"
#include "platform/locale/LocaleInformation.h"
#include "platform/locale/linux/ClockSetWatch.h"
#include "platform/locale/linux/LocaleSettings.h"
#include "platform/loop/Clock.h"

namespace zorva {

/// The locale and time zone according to the system's files (docs/linux-locale.md), updated when
/// they change.
class LinuxLocaleInformation : public LocaleInformation {
 public:
  /// The event loop and the clock must outlive this object.
  LinuxLocaleInformation(sd_event* event, const Clock& clock, LocalePaths paths = {});

  /// The locale's identifier, read now.
  std::string identifier() override;
  std::optional<std::string> countryCode() override;
  /// By the C library, so that they agree with what date(1) shows.
  std::string timeZoneAbbreviation() override;
  bool daylightSavingTime() override;

  Registration observe(Change change, std::function<void()> callback) override;

  /// The name of the time zone ("Europe/Berlin"), read now.
  std::string zoneId();

  /// identifier() and zoneId() as last read, without a system call; they are read after each change
  /// that the event loop delivers. Used for every entry of the log.
  const DateSettings& settings() const { return settings_; }

 private:
  /// What the observers know, which may be older than what was read for a snapshot.
  struct Reported {
    std::string locale;
    std::string zone;
    std::string zoneMark;
  };

  void readSettings();
  void filesChanged();

  sd_event* event_;
  const Clock& clock_;
  LocalePaths paths_;
  DateSettings settings_;
  Reported reported_;
  std::map<Change, Observers<>> observers_;
  CoalescedCall filesChanged_;
  std::list<LinuxPathWatch> fileWatches_;
  std::unique_ptr<ClockSetWatch> clockSetWatch_;
};

}  // namespace zorva
