// SPDX-License-Identifier: Apache-2.0
#include "platform/assertions/linux/LinuxPowerManagement.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/testing/PrivateBus.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

constexpr const char* kService = "org.freedesktop.login1";
constexpr const char* kPath = "/org/freedesktop/login1";
constexpr const char* kManager = "org.freedesktop.login1.Manager";

class LinuxPowerManagementTest : public testing::Test {
 protected:
  // What the login manager answers, as a Python list of (what, who, why, mode, uid, pid).
  void setInhibitors(const std::string& list) {
    setListCode("ret = dbus.Array(" + list + ", signature='(ssssuu)')");
  }
  void setListCode(const std::string& code) {
    ASSERT_GE(private_.call(kService, kPath, private_.kMock, "AddMethod", "sssss", kManager,
                            "ListInhibitors", "", "a(ssssuu)", code.c_str()),
              0);
  }
  void sendPropertiesChanged(const char* property) {
    ASSERT_GE(private_.call(kService, kPath, private_.kMock, "EmitSignal", "sssav",
                            "org.freedesktop.DBus.Properties", "PropertiesChanged", "sa{sv}as", 3,
                            "s", kManager, "a{sv}", 1, property, "s", "sleep", "as", 0),
              0);
  }
  void startLogind() {
    logind_ = private_.startService(kService, kPath, kManager);
    setInhibitors("[]");
  }
  // Writes the login manager's record of a lock, dated by its pipe or, without one, by itself.
  void writeRecord(const std::string& name, const std::string& text, std::int64_t seconds,
                   bool pipe = true) {
    run_.write("systemd/inhibit/" + name, text);
    const std::string dated = records_ + "/" + name + (pipe ? ".ref" : "");
    ASSERT_EQ(pipe ? mkfifo(dated.c_str(), 0600) : 0, 0);
    const timespec times[2] = {{seconds, 0}, {seconds, 500'000'000}};
    ASSERT_EQ(utimensat(AT_FDCWD, dated.c_str(), times, 0), 0);
  }
  // "pid: name since start (type, user)" for each assertion, or what the query answered instead.
  std::vector<std::string> assertions() {
    const auto processes = management_.copyAssertionsByProcess();
    if (!processes) return {"failed"};
    std::vector<std::string> result;
    for (const auto& pid : *processes) {
      for (const Dictionary& record : pid.records) {
        EXPECT_EQ(record["AssertPID"], Value(pid.pid));
        result.push_back(std::to_string(pid.pid) + ": " + record["AssertName"].description() +
                         " since " + record["AssertStartWhen"].description() + " (" +
                         record["AssertType"].description() + ", " +
                         record["AssertUser"].description() + ")");
      }
    }
    return result;
  }
  void waitForChange() {
    loop_.runUntil([&] { return changes_ > 0; });
    loop_.drain();
    changes_ = 0;
  }
  using Lines = std::vector<std::string>;
  struct : Clock {
    std::int64_t seconds = 2'000'000'000;
    Date now() const override { return Date(std::chrono::seconds(seconds)); }
  } clock_;
  LoopForTest loop_;
  DirectoryForTest run_;
  std::string records_ = run_ / "systemd/inhibit";
  PrivateBusForTest private_;
  std::unique_ptr<ChildForTest> logind_;
  int changes_ = 0;
  LinuxBus bus_{loop_.event(), private_.address(), std::chrono::milliseconds(500)};
  LinuxPowerManagement management_{loop_.event(),          bus_,     clock_,
                                   [this] { ++changes_; }, records_, run_ / "user"};
};

TEST_F(LinuxPowerManagementTest, ListsWhatKeepsTheDeviceAwake) {
  private_.start();
  waitForChange();
  startLogind();
  writeRecord("1",
              "# This is private data. Do not parse.\nWHAT=sleep:idle\nMODE=block\nUID=1000\n"
              "PID=80\nWHO=\"a \\\"b\\\"\"\nWHY=\"gr\\\\303\\\\274n \\\\n\"\nFIFO=x\n",
              1'000'000'000);
  // The same escapes without quotes around them, as older login managers write them, and no pipe.
  writeRecord("6",
              "WHAT=sleep\nMODE=block\nUID=0\nPID=90\n"
              "WHO=gr\\303\\274n \\\"x\\\"\nWHY=a \\\\ b\\t\n",
              1'000'000'000, false);
  // Two locks that differ in nothing, and a record of a third that has gone.
  const std::string twin = "WHAT=idle\nMODE=block\nUID=0\nPID=9\nWHO=twin\nWHY=same\n";
  writeRecord("3", twin, 1'000'000'060);
  writeRecord("2", twin, 1'000'000'030);
  writeRecord("4", "WHAT=sleep\nMODE=block\nUID=0\nPID=9\nWHO=gone\nWHY=long ago\n", 1'000'000'000);
  writeRecord("5", std::string("\0=\n=\"\nPID=x", 11), 1);
  setInhibitors(
      "[('sleep:idle', 'a \"b\"', 'gr\u00fcn \\n', 'block', 1000, 80),"
      " ('idle', 'twin', 'same', 'block', 0, 9),"
      " ('sleep', '', 'no name', 'block-weak', 5, 9),"
      " ('sleep', 'network', 'hurry', 'delay', 0, 9),"
      " ('shutdown:handle-lid-switch', 'updater', 'wait', 'block', 0, 9),"
      " ('sleep', 'grün \"x\"', 'a \\\\ b\\t', 'block', 0, 90),"
      " ('idle', 'twin', 'same', 'block', 0, 9)]");
  const Lines expected{
      "9: twin: same since 2001-09-09 01:47:10 +0000 (idle, 0)",
      "9: twin: same since 2001-09-09 01:47:40 +0000 (idle, 0)",
      "9: no name since 2033-05-18 03:33:20 +0000 (sleep, 5)",
      "80: a \"b\": gr\u00fcn \n since 2001-09-09 01:46:40 +0000 (sleep:idle, 1000)",
      "90: grün \"x\": a \\ b\t since 2001-09-09 01:46:40 +0000 (sleep, 0)"};
  EXPECT_EQ(assertions(), expected);
  // What was first seen keeps its date while it is held, and no longer.
  clock_.seconds += 90;
  EXPECT_EQ(assertions(), expected);
  setInhibitors("[]");
  EXPECT_EQ(assertions(), Lines());
  setInhibitors("[('sleep', '', 'no name', 'block-weak', 5, 9)]");
  EXPECT_EQ(assertions(), Lines({"9: no name since 2033-05-18 03:34:50 +0000 (sleep, 5)"}));
  // One that does not answer in time is a failed query.
  setListCode("import time; time.sleep(60)");
  EXPECT_EQ(assertions(), Lines({"failed"}));
}

TEST_F(LinuxPowerManagementTest, TellsOfEveryChangeOnce) {
  // An absent login manager is an empty list until it comes.
  EXPECT_EQ(assertions(), Lines());
  private_.start();
  waitForChange();
  EXPECT_EQ(assertions(), Lines());
  startLogind();
  waitForChange();

  int signals = 0;
  const Registration all = bus_.observeSignals("type='signal',member='PropertiesChanged'",
                                               [&](sd_bus_message*) { ++signals; });
  sendPropertiesChanged("IdleHint");
  loop_.runUntil([&] { return signals == 1; });
  loop_.drain();
  EXPECT_EQ(changes_, 0);
  sendPropertiesChanged("BlockInhibited");
  waitForChange();

  // The first record makes the directory too.
  writeRecord("1", "WHAT=sleep\nPID=1\n", 1'000'000'000);
  waitForChange();
  std::filesystem::remove_all(run_ / "systemd");
  waitForChange();
  logind_.reset();
  waitForChange();
  EXPECT_EQ(assertions(), Lines());
}

}  // namespace
}  // namespace zorva
