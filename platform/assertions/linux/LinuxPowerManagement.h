// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/assertions/PowerManagement.h"
#include "platform/assertions/linux/UserSessions.h"
#include "platform/base/Registration.h"
#include "platform/kit/bus/LinuxBus.h"
#include "platform/kit/files/LogindInhibitors.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/kit/loop/LinuxPathWatch.h"
#include "platform/loop/Clock.h"

namespace zorva {

/// Power assertions are the login manager's inhibitor locks that block sleep or idleness, and what
/// applications hold with their desktop's session; a session's own lock is left out where its
/// applications are known (docs/linux-assertions.md). Beside the keys of the contract a record has
/// "AssertType", what the lock hinders ("sleep:idle"), where that is known, and "AssertUser", the
/// number of the holder's user.
///
/// Without a bus or a service on it no process holds an assertion there. A login manager that
/// answers with an error or not in time is a failed query; a session that does is an absent one.
class LinuxPowerManagement : public PowerManagement {
 public:
  static constexpr const char* kRecords = "/run/systemd/inhibit";

  /// `changed` is called from the event loop after locks were taken or given back, once for what
  /// happened at a time, and when the login manager came or went. Everything referred to outlives
  /// this.
  LinuxPowerManagement(sd_event* event, LinuxBus& bus, const Clock& clock,
                       std::function<void()> changed, std::string records = kRecords,
                       std::string users = UserSessions::kUsers,
                       SessionService::Limits limits = {});

  /// In ascending order of process ids; those of one process from the earliest to the latest.
  std::optional<std::vector<ProcessAssertions>> copyAssertionsByProcess() override;

 private:
  LinuxBus::Outcome listInhibitors(std::vector<LogindInhibitor>& inhibitors);
  void propertiesChanged(sd_bus_message* signal);

  LinuxBus& bus_;
  const Clock& clock_;
  std::string records_;
  /// When locks without a record of their own were first seen here.
  InhibitorStarts firstSeen_;
  CoalescedCall changed_;
  LinuxPathWatch recordsWatch_;
  UserSessions sessions_;
  std::vector<Registration> registrations_;
};

}  // namespace zorva
