// SPDX-License-Identifier: Apache-2.0
// What the states of applications promise, on the simulated handset and over control groups.

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "platform/applications/linux/LinuxApplicationStates.h"
#include "platform/assemble/SimHandset.h"
#include "platform/base/Text.h"
#include "platform/testing/ChildProcess.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

using Lines = std::vector<std::string>;
enum State : std::int32_t { kEnded, kSuspended, kRunning };

struct SimWorld {
  SimHandset handset;
  SimApplicationStates& states = handset.applications();
  void set(const std::string& id, State state, std::optional<pid_t> pid) {
    states.setApplication(id, {static_cast<SimApplicationStates::State>(state), pid});
    states.notify({id, pid, state, std::nullopt});
  }
  void deliver() {}
};
struct LinuxWorld {
  LoopForTest loop;
  DirectoryForTest root;
  SimSystemLog log;
  LinuxApplicationStates states{loop.event(), log, root / "", root / "inhibit"};
  void set(const std::string& id, State state, std::optional<pid_t> pid) {
    const std::string unit =
        "user.slice/user-1.slice/user@1.service/app.slice/app-" + id + ".scope";
    if (!pid) return void(std::filesystem::remove_all(root / unit));
    root.write(unit + "/cgroup.procs", std::to_string(*pid) + "\n");
    root.write(unit + "/cgroup.events",
               std::string("populated 1\nfrozen ") + (state == kSuspended ? "1" : "0"));
  }
  void deliver() { loop.drain(); }
};

template <typename World>
class ApplicationsContract : public testing::Test {
 protected:
  void set(const std::string& id, State state, std::optional<pid_t> pid = std::nullopt) {
    world_.set(id, state, pid);
  }
  // "ID PID" of each change since the last call.
  Lines reported() {
    world_.deliver();
    return std::exchange(reported_, {});
  }
  World world_;
  ApplicationStates& states_ = world_.states;
  Lines reported_;
  Registration observed_ = states_.observe([this](const ApplicationStateChange& change) {
    const std::string id = change.displayIdentifier.value();
    reported_.push_back(id + (change.pid ? " " + std::to_string(*change.pid) : ""));
    EXPECT_EQ(change.state, states_.stateOf(id)) << id;
  });
};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(ApplicationsContract, Worlds);

TYPED_TEST(ApplicationsContract, ChangesAreReportedOnlyBetweenBeginAndEnd) {
  this->set("mail", kRunning, 90);
  EXPECT_EQ(this->reported(), Lines());
  for (int nested = 0; nested < 2; ++nested) this->states_.beginGenerating();
  EXPECT_EQ(this->reported(), Lines()) << "what runs already is no change";
  this->set("maps", kRunning, 70);
  EXPECT_EQ(this->reported(), Lines{"maps 70"});
  this->states_.endGenerating();
  int once = 0;
  Registration own = this->states_.observe([&](const auto&) {
    ++once;
    own.reset();
  });
  for (const State state : {kSuspended, kRunning}) {
    this->set("mail", state, 90);
    EXPECT_EQ(this->reported(), Lines{"mail 90"});
  }
  EXPECT_EQ(once, 1);
  const Registration ending =
      this->states_.observe([&](const auto&) { this->states_.endGenerating(); });
  for (const char* id : {"mail", "maps"}) this->set(id, kSuspended, 70);
  EXPECT_EQ(this->reported().size(), 1u) << "the first one ended it";
}

TYPED_TEST(ApplicationsContract, QuestionsAreAnsweredAsOfNow) {
  const auto active = [&] {
    this->world_.deliver();
    auto ids = this->states_.copyDisplayIdentifiers(true, false);
    std::ranges::sort(ids);
    return ids;
  };
  for (const bool generating : {false, true}) {
    if (generating) this->states_.beginGenerating();
    this->set("maps", kRunning, 70);
    this->set("mail", kSuspended, 90);
    EXPECT_EQ(active(), Lines({"mail", "maps"}));
    EXPECT_EQ(this->states_.copyDisplayIdentifiers(true, true), Lines()) << "the debuggable ones";
    EXPECT_EQ(this->states_.processOf("maps"), 70);
    EXPECT_NE(this->states_.stateOf("maps"), this->states_.stateOf("mail"));
    this->set("maps", kEnded);
    EXPECT_EQ(active(), Lines{"mail"});
    EXPECT_EQ(this->states_.processOf("maps"), std::nullopt);
    EXPECT_EQ(this->states_.stateOf("maps"), this->states_.stateOf("unknown"));
  }
  EXPECT_NE(this->states_.descriptionOfState(77), this->states_.descriptionOfState(78));
  EXPECT_NE(this->states_.nameOfReason(-1), "");
}

TEST(ApplicationUnits, AreNamedAfterTheirApplications) {
  const struct {
    const char *unit, *application;
  } cases[] = {{"app-gnome-org.gnome.Evince-12345.scope", "org.gnome.Evince"},
               {"app-org.gnome.Evince-12345.scope", "org.gnome.Evince"},
               {"app-flatpak-org.telegram.desktop@12345.service", "org.telegram.desktop"},
               {"app-org.kde.amarok.service", "org.kde.amarok"},
               {"app-KDE-org.kde.okular.service", "org.kde.okular"},
               {"app-vlc-0123456789abcdef0123456789abcdef.service", "vlc"},
               {"app-gnome-google\\x2dchrome-7.scope", "google-chrome"},
               {"app-a\\x2-a\\xzz\\x0a-7.scope", "a\\xzz\n"},
               {"app-solo.scope", "solo"},
               {"app-x@autostart.service", "x"},
               {"app-.scope", ""},
               {"app-org.gnome.Terminal.slice", ""},
               {"gnome-app-x-1.scope", ""}};
  for (const auto& [unit, application] : cases) {
    EXPECT_EQ(applicationOfUnit(unit).value_or(""), application) << unit;
  }
}

class LinuxApplicationStatesTest : public testing::Test {
 protected:
  static constexpr const char* kApps = "user.slice/user-1.slice/user@1.service/app.slice/";

  void setUnit(const std::string& name, bool populated, bool frozen, const char* processes) {
    world_.root.write(kApps + name + "/cgroup.procs", processes);
    world_.root.write(kApps + name + "/cgroup.events",
                      formatText("populated %d\nfrozen %d\n", populated, frozen));
  }
  Lines next() {
    world_.loop.runUntil([&] { return !changes_.empty(); });
    return now();
  }
  Lines now() {
    world_.loop.drain();
    return std::exchange(changes_, {});
  }
  LinuxWorld world_;
  LinuxApplicationStates& states_ = world_.states;
  Lines changes_;
  Registration observed_ = states_.observe([this](const ApplicationStateChange& change) {
    changes_.push_back(
        change.displayIdentifier.value() + " " + (change.pid ? std::to_string(*change.pid) : "-") +
        " " + states_.descriptionOfState(change.state.value()) + (change.reasons ? ":" : ""));
    for (const auto reason : change.reasons.value_or(std::vector<std::int32_t>{})) {
      changes_.back() += " " + states_.nameOfReason(reason);
    }
  });
};

TEST_F(LinuxApplicationStatesTest, FollowsTheControlGroups) {
  states_.beginGenerating();
  // A session comes, down to its applications.
  setUnit("app-maps-1.scope", true, false, "70\n71\n");
  setUnit("app-org.Term.slice/app-org.Term-5.scope", true, false, "");
  setUnit("app-mail@1.service", true, true, "90\n");
  setUnit("app-later-1.scope", false, false, "");
  setUnit("session.scope", true, false, "5\n");
  EXPECT_EQ(next(), Lines({"mail 90 frozen", "maps 70 running", "org.Term - running"}));

  // With the locks that its processes hold.
  world_.root.write("inhibit/1", "WHAT=idle:sleep\nMODE=block\nUID=1\nPID=81\n");
  world_.root.write("inhibit/2", "WHAT=handle-lid-switch\nMODE=block\nUID=1\nPID=81\n");
  world_.root.write("inhibit/3", "WHAT=shutdown\nMODE=delay\nUID=1\nPID=80\n");
  world_.root.write("inhibit/4", "WHAT=shutdown\nMODE=block\nUID=1\nPID=70\n");
  setUnit("app-later-1.scope", true, false, "80\n81\n");
  EXPECT_EQ(next(), Lines{"later 80 running: sleep idle other"});
  setUnit("app-mail@1.service", true, false, "90\n");
  EXPECT_EQ(next(), Lines{"mail 90 running:"});
  setUnit("app-mail@1.service", true, false, "91\n92\n");
  EXPECT_EQ(now(), Lines()) << "the same state";
  EXPECT_EQ(states_.processOf("mail"), 91);

  // A second one of the same application; the first one goes.
  setUnit("app-maps-2.scope", true, true, "72\n");
  EXPECT_EQ(next(), Lines{"maps 72 frozen:"});
  EXPECT_EQ(states_.stateOf("maps"), LinuxApplicationStates::Running);
  std::filesystem::remove_all(world_.root / (std::string(kApps) + "app-maps-1.scope"));
  EXPECT_EQ(next(), Lines{"maps 70 gone"});

  std::filesystem::remove_all(world_.root / "user.slice");
  EXPECT_EQ(next().size(), 4u);
}

TEST_F(LinuxApplicationStatesTest, ReportsThatTheKernelRefusesToWatch) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizers look at objects through pipes, which the limit forbids";
#endif
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit none{0, limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);  // as where all queues of the user are taken
  for (int times = 0; times < 2; ++times) {
    states_.beginGenerating();
    states_.endGenerating();
  }
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(world_.log.takeLines(),
            Lines{"Cannot watch '" + (world_.root / "") +
                  "', changes of application states may be missed: Too many open files (limits: "
                  "inotify(7))"});
}

TEST_F(LinuxApplicationStatesTest, FollowsTheKernelThroughTheReplacementOfAGroup) {
  std::vector<std::string> groups;
  std::ifstream mounts("/proc/self/mounts");
  for (std::string device, path, type; mounts >> device >> path >> type;) {
    if (type == "cgroup2") groups = {path + "/zorva-test-" + std::to_string(getpid())};
    std::getline(mounts, type);
  }
  if (groups.empty() || mkdir(groups[0].c_str(), 0755) != 0) GTEST_SKIP() << "no control groups";
  const std::shared_ptr<void> atTheEnd(nullptr, [&](void*) {
    for (; !groups.empty(); groups.pop_back()) rmdir(groups.back().c_str());
  });
  std::filesystem::create_symlink(groups[0], world_.root / "user.slice");
  states_.beginGenerating();
  for (const char* name : {"/user-1.slice", "/user@1.service", "/app.slice", "/app-maps.service"}) {
    groups.push_back(groups.back() + name);
    ASSERT_EQ(mkdir(groups.back().c_str(), 0755), 0);
  }
  const char* const unit = groups.back().c_str();
  const auto write = [&](const char* file, int number) {
    std::ofstream(std::string(unit) + file) << number << std::flush;
  };
  std::optional<ChildForTest> child;
  const auto run = [&] {
    write("/cgroup.procs", child.emplace([] { return pause(); }).pid());
    return "maps " + std::to_string(child->pid());
  };
  std::string maps = run();
  EXPECT_EQ(next(), Lines{maps + " running"});
  write("/cgroup.freeze", 1);
  EXPECT_EQ(next(), Lines{maps + " frozen"});
  write("/cgroup.freeze", 0);
  EXPECT_EQ(next(), Lines{maps + " running"});

  // As a service that is started again, before anybody has looked.
  child.reset();
  while (rmdir(unit) != 0) ASSERT_EQ(errno, EBUSY);  // its process is still on the way out
  ASSERT_EQ(mkdir(unit, 0755), 0);
  maps = run();
  now();
  child.reset();
  EXPECT_EQ(next(), Lines{maps + " gone"});
}

}  // namespace
}  // namespace zorva
