// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

#include "platform/assertions/linux/SessionService.h"
#include "platform/kit/loop/LinuxPathWatch.h"

namespace zorva {

/// The applications that keep the device awake by asking their session, of every user who is
/// logged in: the session services on the bus in each user's runtime directory. The daemon of root
/// connects to each as that user; any other daemon only to its own user's.
///
/// At the start the sessions are waited for, all together for one time limit; later their answers
/// come from the event loop, and a session that does not answer delays nothing.
class UserSessions {
 public:
  static constexpr const char* kUsers = "/run/user";
  static constexpr std::size_t kMaxUsers = 64;

  /// `users` is the directory of the runtime directories, which are named by the users' numbers.
  /// Everything referred to outlives this.
  UserSessions(sd_event* event, const Clock& clock, std::function<void()> changed,
               std::string users = kUsers, SessionService::Limits limits = {});
  ~UserSessions();

  /// What the applications hold. From the locks, which are the login manager's list, those are
  /// removed that a session holds on their behalf.
  std::vector<SessionInhibitor> replaceLocks(std::vector<LogindInhibitor>& locks);

 private:
  class Session;
  void update();

  sd_event* event_;
  const Clock& clock_;
  std::function<void()> changed_;
  std::string users_;
  SessionService::Limits limits_;
  std::map<uid_t, std::unique_ptr<Session>> sessions_;
  LinuxPathWatch watch_;
};

}  // namespace zorva
