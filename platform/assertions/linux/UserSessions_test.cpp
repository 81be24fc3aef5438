// SPDX-License-Identifier: Apache-2.0
#include "platform/assertions/linux/UserSessions.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "platform/assertions/linux/LinuxPowerManagement.h"
#include "platform/base/Descriptor.h"
#include "platform/base/Text.h"
#include "platform/kit/bus/BusProperties.h"
#include "platform/testing/TestLoop.h"
#include "platform/testing/UserSession.h"

namespace zorva {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class UserSessionsTest : public testing::Test {
 protected:
  // The login manager's locks, as a Python list of (what, who, why, mode, uid, pid).
  void setLocks(const std::string& list) {
    if (!logind_) {
      system_.start();
      logind_ = system_.startService(kLoginService, kLoginPath, kLoginManager);
      loop_.runUntil([&] { return bus_.connected(); });
    }
    const std::string code = "ret = dbus.Array([" + list + "], signature='(ssssuu)')";
    ASSERT_GE(system_.call(kLoginService, kLoginPath, system_.kMock, "AddMethod", "sssss",
                           kLoginManager, "ListInhibitors", "", "a(ssssuu)", code.c_str()),
              0);
  }
  // The lock of a session manager.
  std::string heldBy(pid_t pid) const {
    return formatText("('sleep', 'ann', 'user session inhibited', 'block', %u, %d)",
                      session_.user(), pid);
  }
  // "pid: name +seconds (type)" for each assertion, pids of the session's service as "session".
  std::string held() {
    std::string text;
    const auto processes = power().copyAssertionsByProcess();
    if (!processes) return "failed";
    for (const auto& [pid, records] : *processes) {
      for (const Dictionary& record : records) {
        text += pid == service_ ? "session" : std::to_string(pid);
        text += ": " + safeText(record["AssertName"].text().value_or("")) + " +" +
                std::to_string(secondsSinceEpoch(*record["AssertStartWhen"].date()) - kStart) +
                " (" + record["AssertType"].text().value_or("") + ")\n";
      }
    }
    return text;
  }
  void expectHeld(const std::string& expected) {
    const auto limit = steady_clock::now() + std::chrono::seconds(10);
    while (held() != expected && steady_clock::now() < limit) {
      sd_event_run(loop_.event(), 100'000);
    }
    EXPECT_EQ(held(), expected);
  }
  // Not only now, but also after all that is still on its way.
  void expectStillHeld(const std::string& expected) {
    const auto limit = steady_clock::now() + milliseconds(700);
    while (steady_clock::now() < limit) {
      ASSERT_EQ(held(), expected);
      sd_event_run(loop_.event(), 20'000);
    }
  }
  void startService(const std::string& kind) {
    session_.startService(kind);
    service_ = session_.service().pid();
  }
  LinuxPowerManagement& power() {
    if (!power_) {
      power_.emplace(
          loop_.event(), bus_, clock_, [this] { ++changes_; }, run_ / "inhibit", run_ / "user",
          SessionService::Limits{milliseconds(500), milliseconds(200), milliseconds(50)});
    }
    return *power_;
  }

  static constexpr std::int64_t kStart = 2'000'000'000;
  struct : Clock {
    std::int64_t seconds = kStart;
    Date now() const override { return Date(std::chrono::seconds(seconds)); }
  } clock_;
  LoopForTest loop_;
  DirectoryForTest run_;
  PrivateBusForTest system_;
  std::unique_ptr<ChildForTest> logind_;
  UserSessionForTest session_{run_ / "user"};
  pid_t service_ = -1;
  int changes_ = 0;
  LinuxBus bus_{loop_.event(), system_.address(), std::chrono::seconds(5)};
  std::optional<LinuxPowerManagement> power_;
};

TEST_F(UserSessionsTest, AppearWithTheirUsersAndNameGnomesApplications) {
  setLocks("");
  EXPECT_EQ(held(), "");
  session_.logIn();
  session_.startBus();
  EXPECT_EQ(LinuxBus(loop_.event(), session_.address()).connected(), ::geteuid() != 0)
      << "root is refused as root";
  startService("gnome");
  ASSERT_EQ(session_.callService("Inhibit", "susu", "org.mozilla.firefox", 0, "Playing\n", 8), 0);
  expectHeld("session: org.mozilla.firefox: Playing\\x0a +0 (idle)\n");

  // Several in a burst; one that only inhibits logging out.
  clock_.seconds += 60;
  ASSERT_EQ(session_.callService("Inhibit", "susu", "writer", 0, "Unsaved", 1), 0);
  ASSERT_EQ(session_.callService("Inhibit", "susu", "", 0, "Copying", 4), 0);
  const std::string film = "session: org.mozilla.firefox: Playing\\x0a +0 (idle)\n";
  const std::string copy = "session: Copying +60 (sleep)\n";
  expectHeld(film + copy);

  // The session manager's lock with the login manager is told by its applications; others' are not.
  const std::string others = formatText(
      "('sleep', 'ann', 'user session inhibited', 'block', %u, 7),"
      "('sleep', 'x', 'y', 'block', %u, %d),",
      session_.user(), session_.user(), service_);
  setLocks(heldBy(service_) + "," + others);
  expectHeld("7: ann: user session inhibited +60 (sleep)\n" + film + "session: x: y +60 (sleep)\n" +
             copy);
  setLocks(heldBy(service_));
  expectStillHeld(film + copy);
  // One that stands for none of them is listed, but not while it may be about to go.
  clock_.seconds += 60;
  ASSERT_EQ(session_.callService("Uninhibit", "u", 3), 0);
  expectHeld(film);
  expectHeld(film + "session: ann: user session inhibited +120 (sleep)\n");
  setLocks("");

  // A restart of the session manager; users who log out and in again.
  session_.stopService();
  expectHeld("");
  startService("gnome");
  ASSERT_EQ(session_.callService("Inhibit", "susu", "again", 0, "", 4), 0);
  expectHeld("session: again +120 (sleep)\n");
  session_.logOut();
  expectHeld("");
  session_.logIn();
  session_.startBus();
  startService("gnome");
  ASSERT_EQ(session_.callService("Inhibit", "susu", "back", 0, "", 4), 0);
  expectHeld("session: back +120 (sleep)\n");

  // Another daemon's first query already has them.
  power_.reset();
  EXPECT_EQ(held(), "session: back +120 (sleep)\n");
}

TEST_F(UserSessionsTest, AreFoundThoughTheirDirectoryIsMountedOver) {
  if (::unshare(CLONE_NEWNS) != 0 ||
      ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    GTEST_SKIP() << "may not have mounts of its own";
  }
  setLocks("");
  EXPECT_EQ(held(), "");
  session_.logIn();
  loop_.drain();
  ASSERT_EQ(::mount("tmpfs", session_.runtime().c_str(), "tmpfs", 0, nullptr), 0);
  session_.logIn();  // it is the user's again
  loop_.drain();
  session_.startBus();
  startService("gnome");
  ASSERT_EQ(session_.callService("Inhibit", "susu", "film", 0, "", 4), 0);
  expectHeld("session: film +0 (sleep)\n");
  ASSERT_EQ(::umount2(session_.runtime().c_str(), MNT_DETACH), 0);
}

TEST_F(UserSessionsTest, NameKdesApplicationsOnce) {
  for (const char* kind : {"kde", "plasma5"}) {
    SCOPED_TRACE(kind);
    const bool types = std::string(kind) == "kde";
    const auto line = [&](const char* name, int start, const char* type) {
      return formatText("session: %s +%d (%s)\n", name, start, types ? type : "");
    };
    clock_.seconds = kStart;
    session_.logIn();
    session_.startBus();
    startService(kind);
    ASSERT_EQ(session_.callService("AddInhibition", "uss", 1, "ark", "Packing"), 0);
    expectHeld(line("ark: Packing", 0, "sleep"));
    clock_.seconds += 60;
    ASSERT_EQ(session_.callService("AddInhibition", "uss", 5, "ark", "Packing"), 0);
    ASSERT_EQ(session_.callService("AddInhibition", "uss", 4, "vlc", "Playing"), 0);
    const std::string three = line("ark: Packing", 0, "sleep") +
                              line("ark: Packing", 60, "sleep:idle") +
                              line("vlc: Playing", 60, "idle");
    expectHeld(three);

    // It lists the login manager's locks as well, and for a moment longer.
    setLocks("('sleep', 'backup', 'Nightly', 'block', 0, 9)");
    ASSERT_EQ(session_.callService("AddInhibition", "uss", 1, "backup", "Nightly"), 0);
    expectStillHeld("9: backup: Nightly +60 (sleep)\n" + three);
    setLocks("");
    expectStillHeld(three);
    ASSERT_EQ(session_.callService("ReleaseInhibition", "u", 4), 0);
    ASSERT_EQ(session_.callService("ReleaseInhibition", "u", 1), 0);
    ASSERT_EQ(session_.callService("ReleaseInhibition", "u", 2), 0);
    expectHeld(line("vlc: Playing", 60, "idle"));
    session_.logOut();
    expectHeld("");
  }
}

TEST_F(UserSessionsTest, AnswersAreLimited) {
  setLocks("");
  session_.logIn();
  session_.startBus();
  startService("gnome");
  session_.act("for i in range(500): service.Inhibit('a', 0, '\\u20ac' * 1000, 4)");
  EXPECT_EQ(power().copyAssertionsByProcess()->at(0).records.size(), 64U);
  EXPECT_EQ(power().copyAssertionsByProcess()->at(0).records[0]["AssertName"].text()->size(),
            3 + 85 * std::string("\u20ac").size());
  session_.act("for each in list(service.held): service.Uninhibit(each)");
  expectHeld("");
  expectStillHeld("");

  // An answer of another type than described is none. It is asked for again, less and less often.
  session_.act(
      "described = SessionManager.GetInhibitors\n"
      "asked = []\n"
      "@dbus.service.method(GNOME, out_signature='s')\n"
      "def GetInhibitors(self): asked.append(1); return ''\n"
      "SessionManager.GetInhibitors = GetInhibitors\n"
      "service.Inhibit('a', 0, 'b', 4)");
  expectStillHeld("");
  session_.act("assert 1 <= len(asked) <= 3, asked\nSessionManager.GetInhibitors = described");
  expectHeld("session: a: b +0 (sleep)\n");
}

TEST_F(UserSessionsTest, NoneDelaysAQuery) {
  const auto quickly = [&](const std::string& expected, milliseconds limit = milliseconds(400)) {
    const auto start = steady_clock::now();
    EXPECT_EQ(held(), expected);
    EXPECT_LT(steady_clock::now() - start, limit);
  };
  session_.logIn();
  session_.startBus();
  startService("gnome");
  setLocks(heldBy(service_));
  ASSERT_EQ(session_.callService("Inhibit", "susu", "film", 0, "", 4), 0);
  const std::string application = "session: film +0 (sleep)\n";
  const std::string lock = "session: ann: user session inhibited +0 (sleep)\n";
  quickly(application);

  // A service that hangs is waited for at the start only; its lock is listed as it stands.
  session_.service().signal(SIGSTOP);
  power_.reset();
  quickly("", milliseconds(2000));
  expectHeld(lock);
  quickly(lock);
  session_.service().signal(SIGCONT);
  expectHeld(application);

  session_.bus().signal(SIGSTOP);
  quickly(application);
  power_.reset();
  quickly(lock, milliseconds(2000));
  session_.bus().signal(SIGCONT);
  expectHeld(application);
}

TEST_F(UserSessionsTest, WhatAUserPlantsIsNotConnectedTo) {
  session_.logIn();
  const std::string elsewhere = run_ / "elsewhere", planted = session_.runtime() + "/bus";
  const Descriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  elsewhere.copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(::listen(listener.get(), 5), 0);
  ASSERT_EQ(::chmod(elsewhere.c_str(), 0777), 0);
  const auto connectedTo = [&] {
    power_.reset();
    EXPECT_EQ(held(), "");
    return ::accept(listener.get(), nullptr, nullptr) >= 0;
  };
  std::filesystem::create_symlink(elsewhere, planted);
  EXPECT_FALSE(connectedTo());
  std::filesystem::remove(planted);
  std::filesystem::create_hard_link(elsewhere, planted);
  EXPECT_EQ(connectedTo(), ::geteuid() != 0) << "the socket of another user";
  ASSERT_EQ(::chown(planted.c_str(), session_.user(), session_.user()), 0);
  EXPECT_TRUE(connectedTo()) << "the user's own";
}

}  // namespace
}  // namespace zorva
