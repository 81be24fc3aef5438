// SPDX-License-Identifier: Apache-2.0
#include "platform/assertions/linux/UserSessions.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

#include "platform/base/Text.h"
#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {

/// One user's bus and what is on it.
class UserSessions::Session {
 public:
  Session(sd_event* event, uid_t user, const std::string& socket, const Clock& clock,
          std::function<void()> changed, const SessionService::Limits& limits)
      : event_(event),
        changed_(std::move(changed)),
        grace_(limits.between),
        bus_(event, LinuxBus::User{user}, socket, limits.answer, limits.retry),
        gnome_({event, bus_, user, clock, changed_, limits}),
        kde_({event, bus_, user, clock, changed_, limits}) {}
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() { bus_.leaveMatches(); }

  LinuxBus& bus() { return bus_; }
  bool settled() const { return !bus_.connecting() && !gnome_.asking() && !kde_.asking(); }

  void replaceLocks(std::vector<LogindInhibitor>& locks, std::vector<SessionInhibitor>& result) {
    const auto held = [&](const LogindInhibitor& lock) { return gnome_.holds(lock); };
    const bool holds = std::any_of(locks.begin(), locks.end(), held);
    if (!holds || explained()) {
      unexplained_.reset();
      overdue_ = false;
    } else if (!unexplained_) {
      waitForExplanation();
    }
    if (holds && !overdue_) std::erase_if(locks, held);
    kde_.findMirrors(locks);
    for (const SessionInhibitor& each : gnome_.inhibitors()) result.push_back(each);
    for (const SessionInhibitor& each : kde_.inhibitors()) {
      if (!kde_.mirrors(each)) result.push_back(each);
    }
  }

 private:
  bool explained() const { return gnome_.inhibitsSleep() || gnome_.outOfDate(); }

  // The lock and what it stands for come and go over two buses, in either order.
  void waitForExplanation() {
    if (auto source = startTimer(event_, CLOCK_MONOTONIC, grace_, onUnexplained, this)) {
      unexplained_ = std::move(source);
    }
  }
  static int onUnexplained(sd_event_source*, std::uint64_t, void* self) {
    auto* session = static_cast<Session*>(self);
    session->overdue_ = true;
    session->changed_();
    return 0;
  }

  sd_event* event_;
  std::function<void()> changed_;
  std::chrono::microseconds grace_;
  LinuxBus bus_;
  GnomeSessionManager gnome_;
  KdePolicyAgent kde_;
  EventSource unexplained_;  ///< since the session manager holds a lock for no application
  bool overdue_ = false;     ///< for too long, so the lock is listed
};

UserSessions::UserSessions(sd_event* event, const Clock& clock, std::function<void()> changed,
                           std::string users, SessionService::Limits limits)
    : event_(event),
      clock_(clock),
      changed_(std::move(changed)),
      users_(std::move(users)),
      limits_(limits),
      watch_(event, users_, LinuxPathWatch::Of::Contents, [this] { update(); }) {
  update();
  std::vector<LinuxBus*> buses;
  for (const auto& [user, session] : sessions_) buses.push_back(&session->bus());
  LinuxBus::settle(
      buses,
      [this] {
        return std::all_of(sessions_.begin(), sessions_.end(),
                           [](const auto& each) { return each.second->settled(); });
      },
      limits_.answer);
}

UserSessions::~UserSessions() = default;

// Users have logged in or out.
void UserSessions::update() {
  std::map<uid_t, std::unique_ptr<Session>> sessions;
  const uid_t own = ::geteuid();
  for (const std::string& name : entryNames(users_)) {
    const auto user = parseNumber<uid_t>(name);
    if (!user || (own != 0 && *user != own) || sessions.size() == kMaxUsers) continue;
    auto& session = sessions[*user];
    if (const auto known = sessions_.find(*user); known != sessions_.end()) {
      session = std::move(known->second);
    } else {
      session = std::make_unique<Session>(event_, *user, users_ + "/" + name + "/bus", clock_,
                                          changed_, limits_);
    }
  }
  const bool left = std::any_of(sessions_.begin(), sessions_.end(),
                                [](const auto& each) { return each.second != nullptr; });
  sessions_ = std::move(sessions);
  if (left) changed_();
}

std::vector<SessionInhibitor> UserSessions::replaceLocks(std::vector<LogindInhibitor>& locks) {
  std::vector<SessionInhibitor> result;
  for (const auto& [user, session] : sessions_) session->replaceLocks(locks, result);
  return result;
}

}  // namespace zorva
