// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "platform/base/Date.h"
#include "platform/base/Registration.h"
#include "platform/kit/bus/LinuxBus.h"
#include "platform/kit/files/LogindInhibitors.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/loop/Clock.h"

namespace zorva {

/// What an application holds with its session.
struct SessionInhibitor {
  /// As the login manager lists its own. `who` is the application; the process is the service's,
  /// because a session does not report the application's; 0 when that is not known. `what` is empty
  /// when the service does not report it.
  LogindInhibitor lock;
  Date start;       ///< when it was first seen here
  std::string key;  ///< the same for as long as it is held
};

/// A service of a user's session that applications ask to keep the device awake. Its answers are
/// the user's: they are limited in number, length and frequency, and never waited for.
class SessionService {
 public:
  static constexpr std::size_t kMaxInhibitors = 64;
  static constexpr std::size_t kMaxText = 256;  ///< bytes of a name or a reason

  struct Limits {
    std::chrono::microseconds answer = LinuxBus::kTimeLimit;
    /// After a failure, and twice as long after each further one.
    std::chrono::microseconds retry = LinuxBus::kBetweenEnds;
    /// Between two questions for the whole list.
    std::chrono::microseconds between = std::chrono::seconds(1);
  };
  struct Parts {
    sd_event* event;
    LinuxBus& bus;
    uid_t user;
    const Clock& clock;
    std::function<void()> changed;
    Limits limits;
  };

  SessionService(const SessionService&) = delete;
  SessionService& operator=(const SessionService&) = delete;
  virtual ~SessionService() = default;

  /// Those that keep the device awake; none without the service, or when it failed to answer.
  const std::vector<SessionInhibitor>& inhibitors() const { return inhibitors_; }
  /// The service's process, 0 when it is not known.
  pid_t pid() const { return pid_; }
  /// Whether an answer is awaited.
  bool asking() const { return waiting_ > 0; }
  bool failed() const { return failures_ > 0; }
  /// Whether something has changed and the new list is still to come.
  bool outOfDate() const { return !failed() && (asking() || later_); }

 protected:
  /// `changed` is called after each round of questions, whatever its result.
  SessionService(Parts parts, const char* name);

  /// Poses the questions of one round by ask(), and further ones from their answers. What it finds
  /// goes to found_.
  virtual void askAll() = 0;
  void ask(const char* path, const char* interface, const char* member,
           std::function<void(LinuxBus::Outcome, sd_bus_message*)> answered,
           const LinuxBus::Arguments& arguments = {});
  /// The round has no result.
  void fail() { failing_ = true; }
  void observe(const std::string& path, const std::string& interface, const std::string& member,
               const std::string& argument = {});
  SessionInhibitor inhibitor(std::string what, const std::string& who, const std::string& why,
                             std::string key) const;

  std::vector<SessionInhibitor> found_;

 private:
  void restart();
  void request();
  void begin();
  void askForProcess();
  void questionAnswered();
  void finish();
  void later(std::chrono::microseconds delay);
  void pose(const char* service, const char* path, const char* interface, const char* member,
            std::function<void(LinuxBus::Outcome, sd_bus_message*)> answered,
            const LinuxBus::Arguments& arguments);
  static int onLater(sd_event_source*, std::uint64_t, void* self);

  Parts parts_;
  const char* name_;
  pid_t pid_ = 0;
  std::vector<SessionInhibitor> inhibitors_;
  int waiting_ = 0;       ///< for answers
  bool failing_ = false;  ///< in this round
  bool again_ = false;    ///< something changed during the round
  int failures_ = 0;      ///< in succession
  std::optional<std::chrono::steady_clock::time_point> asked_;
  EventSource later_;
  std::vector<Registration> questions_;
  std::vector<Registration> observed_;
};

/// GNOME's session manager, which Phosh and others have too.
class GnomeSessionManager : public SessionService {
 public:
  explicit GnomeSessionManager(const Parts& parts);

  /// Whether the lock is the one that this session manager holds with the login manager for its
  /// applications.
  bool holds(const LogindInhibitor& lock) const;
  /// Whether any of its applications inhibits sleep, for which it holds that lock.
  bool inhibitsSleep() const;

 private:
  void askAll() override;
  void askFor(const std::string& path);

  struct Details {
    std::string path;
    std::string application;
    std::string reason;
    std::uint32_t flags = 0;
    int answers = 0;
  };
  uid_t user_;
};

/// KDE's PowerDevil.
class KdePolicyAgent : public SessionService {
 public:
  explicit KdePolicyAgent(Parts parts);

  /// PowerDevil lists the login manager's locks as its own, too. Marks those that are among these
  /// locks, for as long as they are listed.
  void findMirrors(const std::vector<LogindInhibitor>& locks);
  bool mirrors(const SessionInhibitor& inhibitor) const;

 private:
  void askAll() override;
  void readActive(sd_bus_message* answer);
  void readList(sd_bus_message* answer);
  void add(const std::string& what, const std::string& who, const std::string& why);

  std::set<std::pair<std::string, std::string>> mirrors_;
};

}  // namespace zorva
