// SPDX-License-Identifier: Apache-2.0
#include "core/ZorvaMain.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

#include "core/Logging.h"
#include "core/Preferences.h"
#include "core/ZorvaState.h"
#include "platform/assemble/SimHandset.h"

namespace zorva {

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// A logger that writes its letter.
class Named : public ZVLogger {
 public:
  Named(const LoggerParts& parts, char letter) : ZVLogger(parts.services), name_(1, letter) {
    EXPECT_NE(parts.sharedConnection, nullptr);
    ++alive;
  }
  ~Named() override { --alive; }
  void log() override { logEntryWithBody(name_, " snapshot;"); }

  inline static int alive = 0;

 private:
  std::string name_;
};

template <char letter>
std::unique_ptr<ZVLogger> make(const LoggerParts& parts) {
  if (letter == 'B' && !parts.platform.registry.firstPowerSource()) return nullptr;
  return std::make_unique<Named>(parts, letter);
}
constexpr LoggerRow kRows[] = {
    {make<'N'>},
    {make<'A'>, 'p'},
    {make<'B'>, 'B', nullptr,
     [](const Platform& platform, std::function<void()> appeared) {
       return platform.registry.observeFirstPowerSource(std::move(appeared));
     }},
    {make<'S'>, 0, kRecordSyslog},
};

class ZorvaMainTest : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(logDirectory()); }
  void TearDown() override {
    EXPECT_EQ(Named::alive, 0);
    EXPECT_EQ(handset.systemLog().takeLines(), Lines{});
  }

  fs::path logDirectory() { return handset.files().hostPath(kLogDirectory); }
  // The file of the attempt, as begun at the start.
  fs::path logFile(int attempt, const std::string& device = "Sim Phone") {
    const std::string suffix = attempt == 0 ? "" : "-" + std::to_string(attempt);
    return logDirectory() / ("Zorva_2026-11-16-140000" + suffix + "_" + device + ".zorva");
  }

  int run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "zorva");
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const LoggerTable table{
        kRows, [](const Platform&) -> SharedConnection { return std::make_shared<int>(); }};
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    const int status = ZorvaMain(static_cast<int>(arguments.size()), argv.data(),
                                 {[this] { return &handset.platform(); }}, table);
    errorText = ::testing::internal::GetCapturedStderr();
    output = linesOf(std::istringstream(::testing::internal::GetCapturedStdout()));
    return status;
  }

  // A daemon that ends after so long. It would end at once if it knew -q.
  int runDaemon(int seconds = 0) {
    handset.runLoop().schedule(std::chrono::seconds(seconds),
                               [this] { handset.notifications().post("com.vennor.zorva.exit"); });
    return run({"-d", "-q", "-p"});
  }
  static Lines linesOf(std::istream&& stream) {
    Lines lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }
  auto fileCount() {
    return std::distance(fs::directory_iterator(logDirectory()), fs::directory_iterator());
  }

  SimHandset handset;
  Lines output;
  std::string errorText;
};

TEST_F(ZorvaMainTest, DefaultLoggersAreThoseOfTheTableThatArePreferredAndCanBeHad) {
  SetPreferenceValue(handset.preferences(), kRecordSyslog, false);
  handset.battery().setPresent(false);
  EXPECT_EQ(run({"-q"}), 0);
  EXPECT_EQ(output, (Lines{"11/16/26 14:00:00 [N] snapshot;", "11/16/26 14:00:00 [A] snapshot;"}));
  EXPECT_EQ(CopyPreferenceValue(handset.preferences(), kRecordSyslog), Value(false));
  const Lines defaults = output;
  // Without a battery, asking for its logger alone is asking for nothing.
  EXPECT_EQ(run({"-q", "-B"}), 0);
  EXPECT_EQ(output, defaults);
  handset.battery().setPresent(true);
  EXPECT_EQ(run({"-pq", "-BB"}), 0);
  EXPECT_EQ(output, (Lines{"11/16/26 14:00:00 [A] snapshot;", "11/16/26 14:00:00 [B] snapshot;",
                           "11/16/26 14:00:00 [B] snapshot;"}));
}

TEST_F(ZorvaMainTest, ALoggerWhoseSourceAppearsLaterLogsFromThereOn) {
  handset.battery().setPresent(false);
  for (const bool present : {true, false, true}) {
    handset.runLoop().schedule(std::chrono::seconds(60),
                               [this, present] { handset.battery().setPresent(present); });
  }
  handset.runLoop().schedule(std::chrono::seconds(120),
                             [this] { handset.notifications().post("com.vennor.zorva.exit"); });
  EXPECT_EQ(run({"-B"}), 0);
  EXPECT_EQ(output, (Lines{"11/16/26 14:00:00 [N] snapshot;", "11/16/26 14:00:00 [A] snapshot;",
                           "11/16/26 14:00:00 [S] snapshot;", "11/16/26 14:01:00 [B] snapshot;"}));
}

TEST_F(ZorvaMainTest, TheTenthNameOfASecondIsAppendedTo) {
  handset.device().setAnswer("UserAssignedDeviceName", {});
  for (int attempt = 0; attempt <= 9; ++attempt) {
    EXPECT_EQ(runDaemon(), 0);
    EXPECT_TRUE(fs::exists(logFile(attempt, "Unknown"))) << attempt;
  }
  EXPECT_EQ(runDaemon(), 0);
  EXPECT_EQ(fileCount(), 10);
  const std::string entry = "11/16/26 14:00:00 [A] snapshot;";
  EXPECT_EQ(linesOf(std::ifstream(logFile(9, "Unknown"))),
            (Lines{"Zorva Version: 5", entry, "Zorva Version: 5", entry}));
}

TEST_F(ZorvaMainTest, WhatIsForeignIsNeitherFollowedNorReplacedNorGivenAway) {
  const fs::path victim = handset.root() / "victim";
  std::ofstream(victim) << "precious";
  fs::create_symlink(victim, logFile(0));
  fs::create_symlink(handset.root() / "missing", logFile(1));
  EXPECT_EQ(runDaemon(), 0);
  EXPECT_EQ(linesOf(std::ifstream(logFile(2))).size(), 2U);

  // With every name taken by something foreign, nothing is written anywhere.
  fs::remove(logFile(2));
  for (int attempt = 2; attempt < 9; ++attempt) fs::create_symlink(victim, logFile(attempt));
  const std::function<void()> plants[] = {[&] { fs::create_hard_link(victim, logFile(9)); },
                                          [&] { ::mkfifo(logFile(9).c_str(), 0600); },
                                          [&] {
                                            std::ofstream(logFile(9)) << "root's";
                                            handset.accounts().setUser("mobile", {501, 501});
                                          }};
  for (const auto& plant : plants) {
    if (&plant == &plants[2] && ::geteuid() != 0) break;  // only root has files of others
    fs::remove(logFile(9));
    plant();
    EXPECT_EQ(runDaemon(), 0);
    EXPECT_EQ(handset.systemLog().takeLines(),
              Lines{"Unable to grab a FILE* for '/Library/Logs/Faultbox/"
                    "Zorva_2026-11-16-140000-9_Sim Phone.zorva'"});
  }
  if (::geteuid() == 0) {
    struct stat status;
    ASSERT_EQ(::stat(logFile(9).c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U) << "not given away";
    EXPECT_EQ(linesOf(std::ifstream(logFile(9))), Lines{"root's"});
  }
  // When such a thing is taken away, the next event in the directory begins a file after all,
  // though another event does not; and so does a link that takes the file's place.
  handset.runLoop().schedule({}, [&] { std::ofstream(logDirectory() / "other"); });
  handset.runLoop().schedule(std::chrono::milliseconds(500), [&] {
    EXPECT_EQ(handset.systemLog().takeLines().size(), 1U) << "Unable to grab";
    fs::remove(logFile(9));
  });
  handset.runLoop().schedule(std::chrono::seconds(1), [&] {
    EXPECT_EQ(linesOf(std::ifstream(logFile(9))).size(), 2U);
    fs::rename(logFile(8), logFile(9));
  });
  EXPECT_EQ(runDaemon(10), 0);
  EXPECT_EQ(
      linesOf(std::ifstream(logDirectory() / "Zorva_2026-11-16-140001_Sim Phone.zorva")).size(),
      2U);
  EXPECT_EQ(handset.systemLog().takeLines().back(), "creating new log");
  EXPECT_EQ(linesOf(std::ifstream(victim)), Lines{"precious"});
  EXPECT_FALSE(fs::exists(handset.root() / "missing"));
}

TEST_F(ZorvaMainTest, ADaemonWithoutItsQueueEndsAtOnceAndOneWithoutItsWatchGoesOn) {
  const std::pair<const char*, std::string> kFailures[] = {
      {"files.makeEventQueue",
       std::string("kqueue > 0\" failed for /Library/Logs/Faultbox: ") + std::strerror(EMFILE)},
      {"files.openForEvents",
       std::string("crashReportDirectoryDescriptor > 0\" failed for /Library/Logs/Faultbox: ") +
           std::strerror(EACCES)}};
  for (const auto& [point, failure] : kFailures) {
    handset.faults().fail(point);
    errno = 0;
    EXPECT_NE(run({"-d", "-p"}), 0);
    EXPECT_NE(errorText.find("check \"sZorvaState." + failure), std::string::npos) << errorText;
    EXPECT_EQ(handset.systemLog().takeLines().size(), 1U);
  }
  EXPECT_EQ(fileCount(), 0);

  handset.faults().fail("files.watchDirectory");
  EXPECT_EQ(runDaemon(), 0);
  EXPECT_EQ(fileCount(), 1);
  EXPECT_EQ(handset.systemLog().takeLines(),
            Lines{"Unable to watch /Library/Logs/Faultbox: a log file that disappears will not be "
                  "followed by a new one"});
}

}  // namespace
}  // namespace zorva
