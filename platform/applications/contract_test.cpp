// SPDX-License-Identifier: Apache-2.0
// What the states of applications promise, on the simulated handset and over control groups.

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

#include "platform/applications/linux/LinuxApplicationStates.h"
#include "platform/assemble/SimHandset.h"
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

}  // namespace
}  // namespace zorva
