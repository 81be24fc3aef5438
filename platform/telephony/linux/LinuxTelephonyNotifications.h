// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Observers.h"
#include "platform/telephony/TelephonyNotifications.h"
#include "platform/telephony/linux/ModemManagerClient.h"

namespace zorva {

/// One notification: its name and what comes with it.
using TelephonyNews = std::pair<std::string, Dictionary>;

/// What is posted when a modem's record changes: one notification for each role in which
/// something differs, with all values of the role that are known.
std::vector<TelephonyNews> telephonyNews(const ModemRecord& before, const ModemRecord& after);

/// Posts what is new in the modem's record (docs/linux-telephony.md: which notifications that are).
class LinuxTelephonyNotifications : public TelephonyNotifications {
 public:
  explicit LinuxTelephonyNotifications(ModemManagerClient& client);

  Registration observe(const std::string& name, Callback callback) override;
  /// Posts a notification of another source.
  void post(const std::string& name, const Dictionary& information);

 private:
  void recordChanged();

  ModemManagerClient& client_;
  ModemRecord reported_;
  std::map<std::string, Observers<std::string_view, const Dictionary&>> observers_;
  std::vector<Registration> registrations_;
};

}  // namespace zorva
