#include "platform/linux/LinuxApplicationStates.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <sys/stat.h>

#include "platform/linux/Child_test.h"
#include "platform/linux/Loop_test.h"
#include "platform/support/Directory_test.h"

namespace zorva {
namespace {

using Lines = std::vector<std::string>;

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
  static constexpr const char* kApps = "cgroup/user.slice/user-1.slice/user@1.service/app.slice/";

  void setUnit(const std::string& name, bool populated, bool frozen, const char* processes) {
    directory_.write(kApps + name + "/cgroup.procs", processes);
    directory_.write(
        kApps + name + "/cgroup.events",
        "populated " + std::to_string(populated) + "\nfrozen " + std::to_string(frozen) + "\n");
  }
  Lines next() {
    loop_.runUntil([&] { return !told_.empty(); });
    return std::exchange(told_, {});
  }
  Lines now() {
    loop_.drain();
    return std::exchange(told_, {});
  }
  // As a snapshot asks.
  Lines listed() {
    Lines lines;
    for (const std::string& id : states_.copyDisplayIdentifiers(true, false)) {
      const auto process = states_.processOf(id);
      lines.push_back(id + " " + (process ? std::to_string(*process) : "-") + " " +
                      states_.descriptionOfState(states_.stateOf(id)));
    }
    return lines;
  }

  LoopForTest loop_;
  DirectoryForTest directory_;
  LinuxApplicationStates states_{loop_.event(), directory_ / "cgroup", directory_ / "inhibit"};
  Lines told_;
  Registration observed_ = states_.observe([this](const auto& change) { tell(change); });

  void tell(const ApplicationStateChange& change) {
    std::string line = change.displayIdentifier.value() + " " +
                       (change.process ? std::to_string(*change.process) : "-") + " " +
                       states_.descriptionOfState(change.state.value());
    if (change.reasons) line += ":";
    for (const auto reason : change.reasons.value_or(std::vector<std::int32_t>{})) {
      line += " " + states_.nameOfReason(reason);
    }
    told_.push_back(line);
  }
};

TEST_F(LinuxApplicationStatesTest, FollowsTheControlGroups) {
  EXPECT_EQ(listed(), Lines()) << "without control groups";
  std::filesystem::create_directories(directory_ / "cgroup");
  states_.beginGenerating();
  // A session comes, down to its applications.
  setUnit("app-maps-1.scope", true, false, "70\n71\n");
  setUnit("app-org.Term.slice/app-org.Term-5.scope", true, false, "");
  setUnit("app-mail@1.service", true, true, "90\n");
  setUnit("app-later-1.scope", false, false, "");
  setUnit("session.scope", true, false, "5\n");
  EXPECT_EQ(next(), Lines({"mail 90 frozen", "maps 70 running", "org.Term - running"}));
  EXPECT_EQ(listed(), Lines({"mail 90 frozen", "maps 70 running", "org.Term - running"}));
  EXPECT_EQ(states_.copyDisplayIdentifiers(true, true), Lines());
  EXPECT_EQ(states_.descriptionOfState(states_.stateOf("unknown")), "gone");

  // With the locks that its processes hold.
  directory_.write("inhibit/1", "WHAT=idle:sleep\nMODE=block\nUID=1\nPID=81\n");
  directory_.write("inhibit/2", "WHAT=handle-lid-switch\nMODE=block\nUID=1\nPID=81\n");
  directory_.write("inhibit/3", "WHAT=shutdown\nMODE=delay\nUID=1\nPID=80\n");
  directory_.write("inhibit/4", "WHAT=shutdown\nMODE=block\nUID=1\nPID=70\n");
  setUnit("app-later-1.scope", true, false, "80\n81\n");
  EXPECT_EQ(next(), Lines{"later 80 running: sleep idle other"});
  setUnit("app-mail@1.service", true, false, "90\n");
  EXPECT_EQ(next(), Lines{"mail 90 running:"});
  setUnit("app-mail@1.service", true, false, "91\n92\n");
  EXPECT_EQ(now(), Lines()) << "the same state";
  EXPECT_EQ(states_.processOf("mail"), 91);

  // A second one of the same application; the first one goes, is there again and goes.
  setUnit("app-maps-2.scope", true, true, "72\n");
  EXPECT_EQ(next(), Lines{"maps 72 frozen:"});
  EXPECT_EQ(states_.stateOf("maps"), LinuxApplicationStates::kRunning);
  const auto remove = [&](const char* unit) {
    std::filesystem::remove_all((directory_ / kApps) + unit);
  };
  remove("app-maps-1.scope");
  EXPECT_EQ(next(), Lines{"maps 70 gone"});
  setUnit("app-maps-1.scope", true, false, "75\n");
  EXPECT_EQ(next(), Lines{"maps 75 running:"});
  remove("app-maps-1.scope");
  setUnit("app-maps-1.scope", true, false, "75\n");
  now();
  setUnit("app-maps-1.scope", false, false, "");
  EXPECT_EQ(next(), Lines{"maps 75 gone"}) << "watched again after it was replaced";

  std::filesystem::remove_all(directory_ / "cgroup/user.slice");
  EXPECT_EQ(next().size(), 4u);
  states_.endGenerating();
  setUnit("app-maps-1.scope", true, false, "70\n");
  EXPECT_EQ(now(), Lines());
  EXPECT_EQ(listed(), Lines{"maps 70 running"});
}

// Control groups of a test's own, in the kernel's hierarchy; they go with it.
struct ControlGroupsForTest {
  ControlGroupsForTest() {
    std::ifstream mounts("/proc/self/mounts");
    for (std::string line, device, path, type; std::getline(mounts, line);) {
      std::istringstream(line) >> device >> path >> type;
      if (type == "cgroup2") root = path + "/zorva-test-" + std::to_string(getpid());
    }
    made = !root.empty() && add("");
  }
  ~ControlGroupsForTest() {
    for (; !groups.empty(); groups.pop_back()) rmdir(groups.back().c_str());
  }
  bool add(const std::string& name) {
    groups.push_back(root + name);
    return mkdir(groups.back().c_str(), 0755) == 0;
  }
  std::string root;
  std::vector<std::string> groups;
  bool made = false;
};

TEST_F(LinuxApplicationStatesTest, FollowsTheKernelThroughTheReplacementOfAGroup) {
  ControlGroupsForTest groups;
  if (!groups.made) GTEST_SKIP() << "no control groups can be made here";
  LinuxApplicationStates states(loop_.event(), groups.root, directory_ / "inhibit");
  const Registration observed = states.observe([this](const auto& change) { tell(change); });
  states.beginGenerating();
  std::string unit;
  for (const char* name :
       {"/user.slice", "/user-1.slice", "/user@1.service", "/app.slice", "/app-maps.service"}) {
    ASSERT_TRUE(groups.add(unit += name));
  }
  const auto write = [&](const char* file, const std::string& text) {
    std::ofstream(groups.root + unit + file) << text << std::flush;
  };
  const auto run = [&] {
    auto child = std::make_unique<ChildForTest>([] { return pause(); });
    write("/cgroup.procs", std::to_string(child->process()));
    return child;
  };
  auto child = run();
  const std::string maps = "maps " + std::to_string(child->process());
  EXPECT_EQ(next(), Lines{maps + " running"});
  write("/cgroup.freeze", "1");
  EXPECT_EQ(next(), Lines{maps + " frozen"});
  write("/cgroup.freeze", "0");
  EXPECT_EQ(next(), Lines{maps + " running"});

  // As a service that is started again, before anybody has looked.
  child.reset();
  const std::string group = groups.groups.back();
  for (int tries = 0; rmdir(group.c_str()) != 0; ++tries) ASSERT_LT(tries, 1000000);
  ASSERT_EQ(mkdir(group.c_str(), 0755), 0);
  child = run();
  const std::string again = "maps " + std::to_string(child->process());
  now();
  child.reset();
  EXPECT_EQ(next(), Lines{again + " gone"});
}

}  // namespace
}  // namespace zorva
