#include "core/ZorvaMain.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

#include "core/Logging.h"
#include "core/Preferences.h"
#include "core/ZorvaState.h"
#include "platform/sim/SimHandset.h"

namespace zorva {

class ZVTelephonyConnection {};

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// A logger that writes its name, and once more for every "again" notification.
class Named : public ZVLogger {
 public:
  Named(const LoggerParts& parts, const char* name) : ZVLogger(parts.services), name_(name) {
    EXPECT_NE(parts.telephonyConnection, nullptr);
    ++alive;
    registerCallbackForOstrelNotification(ZVLoggerLogCallback, "again");
  }
  ~Named() override { --alive; }
  void log() override { logEntryWithBody(name_, " snapshot;"); }

  inline static int alive = 0;

 private:
  const char* name_;
};

using Made = std::unique_ptr<ZVLogger>;
constexpr LoggerRow kRows[] = {
    {"ZVConfigLogger", nullptr},
    {"ZVNetworkLogger",
     [](const LoggerParts& p) -> Made { return std::make_unique<Named>(p, "Network"); }},
    {"ZVPowerAssertionLogger",
     [](const LoggerParts& p) -> Made { return std::make_unique<Named>(p, "Assertion"); }},
    {"ZVBatteryLogger",
     [](const LoggerParts& p) -> Made {
       if (!p.platform.registry.firstPowerSource()) return nullptr;
       return std::make_unique<Named>(p, "Battery");
     }},
    {"ZVSyslogLogger",
     [](const LoggerParts& p) -> Made { return std::make_unique<Named>(p, "Syslog"); }},
};

class ZorvaMainTest : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(logDirectory()); }
  void TearDown() override {
    EXPECT_EQ(Named::alive, 0);
    EXPECT_EQ(handset.systemLog().takeLines(), Lines{});
  }

  fs::path logDirectory() { return handset.files().hostPath(kLogDirectory); }

  int run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "zorva");
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const LoggerTable table{kRows, [] { return std::make_shared<ZVTelephonyConnection>(); }};
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    const int status =
        ZorvaMain(static_cast<int>(arguments.size()), argv.data(), handset.platform(), table);
    errorText = ::testing::internal::GetCapturedStderr();
    output = linesOf(::testing::internal::GetCapturedStdout());
    return status;
  }

  void at(int seconds, std::function<void()> step) {
    handset.runLoop().schedule(std::chrono::seconds(seconds), std::move(step));
  }
  void exitAt(int seconds) {
    at(seconds, [this] { handset.notifications().post("com.vennor.zorva.exit"); });
  }

  static Lines linesOf(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }
  static Lines linesOf(const fs::path& file) {
    std::ifstream stream(file);
    return linesOf(std::string(std::istreambuf_iterator<char>(stream), {}));
  }
  Lines fileNames() {
    Lines names;
    for (const auto& entry : fs::directory_iterator(logDirectory())) {
      names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  SimHandset handset;
  Lines output;
  std::string errorText;
};

TEST_F(ZorvaMainTest, DefaultLoggersWriteTheirSnapshotsInTableOrder) {
  EXPECT_EQ(run({"-q"}), 0);
  EXPECT_EQ(
      output,
      (Lines{"11/16/26 14:00:00 [Network] snapshot;", "11/16/26 14:00:00 [Assertion] snapshot;",
             "11/16/26 14:00:00 [Battery] snapshot;", "11/16/26 14:00:00 [Syslog] snapshot;"}));
  EXPECT_EQ(CopyPreferenceValue(handset.preferences(), kSecondsBeforeSignificantTimeTriggered),
            Value(1800.0));
}

TEST_F(ZorvaMainTest, PreferencesThatAreSetStayAndLeaveTheSystemLogOut) {
  SetPreferenceValue(handset.preferences(), kRecordSyslog, false);
  handset.battery().setPresent(false);
  EXPECT_EQ(run({"-q"}), 0);
  EXPECT_EQ(output.size(), 2U) << "neither the system log nor a battery";
  EXPECT_EQ(CopyPreferenceValue(handset.preferences(), kRecordSyslog), Value(false));
}

TEST_F(ZorvaMainTest, NamedLoggersComeInTheOrderOfTheOptions) {
  EXPECT_EQ(run({"-pB", "-q", "-B"}), 0);
  EXPECT_EQ(output, (Lines{"11/16/26 14:00:00 [Assertion] snapshot;",
                           "11/16/26 14:00:00 [Battery] snapshot;",
                           "11/16/26 14:00:00 [Battery] snapshot;"}));
}

TEST_F(ZorvaMainTest, ABatteryAskedForAndMissingIsNoReasonToLogAllElse) {
  handset.battery().setPresent(false);
  EXPECT_EQ(run({"-B", "-q"}), 0);
  EXPECT_EQ(output, Lines{});
  EXPECT_EQ(handset.systemLog().takeLines(), Lines{"ZVBatteryLogger could not be started"});
}

TEST_F(ZorvaMainTest, UsageGoesToStandardErrorAndNothingElseHappens) {
  const char* usage =
      "Usage: zorva [-Bdhpq]\n"
      "Help:  Logs information relevant to power debugging in /Library/Logs/Faultbox\n"
      "Options:\n"
      "    -B    Log battery levels (disables default logging)\n"
      "    -d    Run as daemon, record data to a .zorva file\n"
      "    -h    Print this help message and exit\n"
      "    -q    exit after initial logging\n"
      "    -p    Log power assertions (disables default logging)\n";
  for (const auto& arguments : {Lines{"-h"}, Lines{"-x"}, Lines{"-d", "-B", "-h"}}) {
    EXPECT_EQ(run(arguments), 0);
    EXPECT_EQ(errorText, usage);
    EXPECT_EQ(output, Lines{});
    EXPECT_EQ(fileNames(), Lines{});
  }
  EXPECT_TRUE(CopyPreferenceValue(handset.preferences(), kRecordSyslog).isNothing());
}

TEST_F(ZorvaMainTest, LogsOnNotificationsUntilTheExitNotification) {
  at(60, [this] { handset.notifications().post("again"); });
  exitAt(90);
  at(120, [this] { handset.notifications().post("again"); });
  EXPECT_EQ(run({"-p"}), 0);
  EXPECT_EQ(output, (Lines{"11/16/26 14:00:00 [Assertion] snapshot;",
                           "11/16/26 14:01:00 [Assertion] snapshot;"}));
}

TEST_F(ZorvaMainTest, ADaemonWritesAFileAndBeginsAnewWhenItIsMovedAway) {
  const fs::path elsewhere = handset.root() / "moved.zorva";
  const std::string first = "Zorva_2026-11-16-140000_Sim Phone.zorva";
  at(10, [&] { std::ofstream(logDirectory() / "crash.log") << "not ours"; });
  at(20, [&] { fs::rename(logDirectory() / first, elsewhere); });
  at(30, [this] { handset.notifications().post("again"); });
  exitAt(40);
  EXPECT_EQ(run({"-d", "-q", "-p"}), 0) << "-q has no effect with -d";
  EXPECT_EQ(output, Lines{});
  EXPECT_EQ(fileNames(), (Lines{"Zorva_2026-11-16-140020_Sim Phone.zorva", "crash.log"}));
  EXPECT_EQ(linesOf(elsewhere),
            (Lines{"Zorva Version: 5", "11/16/26 14:00:00 [Assertion] snapshot;"}));
  EXPECT_EQ(linesOf(logDirectory() / "Zorva_2026-11-16-140020_Sim Phone.zorva"),
            (Lines{"Zorva Version: 5", "11/16/26 14:00:20 [Assertion] snapshot;",
                   "11/16/26 14:00:30 [Assertion] snapshot;"}));
  EXPECT_EQ(handset.systemLog().takeLines(), Lines{"creating new log"});
}

TEST_F(ZorvaMainTest, TheTenthNameOfASecondIsAppendedTo) {
  handset.device().setAnswer("UserAssignedDeviceName", {});
  const auto name = [](int attempt) {
    const std::string suffix = attempt == 0 ? "" : "-" + std::to_string(attempt);
    return "Zorva_2026-11-16-140000" + suffix + "_Unknown.zorva";
  };
  for (int attempt = 0; attempt <= 9; ++attempt) {
    exitAt(0);
    EXPECT_EQ(run({"-d", "-p"}), 0);
    EXPECT_TRUE(fs::exists(logDirectory() / name(attempt))) << attempt;
  }
  exitAt(0);
  EXPECT_EQ(run({"-d", "-p"}), 0);
  EXPECT_EQ(fileNames().size(), 10U);
  const std::string entry = "11/16/26 14:00:00 [Assertion] snapshot;";
  EXPECT_EQ(linesOf(logDirectory() / name(9)),
            (Lines{"Zorva Version: 5", entry, "Zorva Version: 5", entry}));
}

TEST_F(ZorvaMainTest, PlantedLinksAreNeitherFollowedNorReplaced) {
  const fs::path victim = handset.root() / "victim";
  std::ofstream(victim) << "precious";
  const auto path = [this](const std::string& suffix) {
    return logDirectory() / ("Zorva_2026-11-16-140000" + suffix + "_Sim Phone.zorva");
  };
  fs::create_symlink(victim, path(""));
  fs::create_symlink(handset.root() / "missing", path("-1"));
  exitAt(0);
  EXPECT_EQ(run({"-d", "-p"}), 0);
  EXPECT_EQ(linesOf(path("-2")).size(), 2U);

  // With every name taken by something foreign, nothing is written anywhere.
  fs::remove(path("-2"));
  for (int attempt = 2; attempt < 9; ++attempt)
    fs::create_symlink(victim, path("-" + std::to_string(attempt)));
  for (const bool hardLink : {true, false}) {
    fs::remove(path("-9"));
    if (hardLink) {
      fs::create_hard_link(victim, path("-9"));
    } else {
      ASSERT_EQ(::mkfifo(path("-9").c_str(), 0600), 0);
    }
    exitAt(0);
    EXPECT_EQ(run({"-d", "-p"}), 0);
    EXPECT_EQ(handset.systemLog().takeLines(),
              Lines{"Unable to grab a FILE* for '/Library/Logs/Faultbox/"
                    "Zorva_2026-11-16-140000-9_Sim Phone.zorva'"});
  }
  // When such a thing is taken away, the next event in the directory begins a file after all.
  at(0, [&] { fs::remove(path("-9")); });
  exitAt(10);
  EXPECT_EQ(run({"-d", "-p"}), 0);
  EXPECT_EQ(linesOf(path("-9")).size(), 2U);
  EXPECT_EQ(handset.systemLog().takeLines().back(), "creating new log");
  EXPECT_EQ(linesOf(victim), Lines{"precious"});
  EXPECT_FALSE(fs::exists(handset.root() / "missing"));
}

TEST_F(ZorvaMainTest, ADaemonWithoutItsDirectoryOrQueueEndsAtOnce) {
  fs::remove(logDirectory());
  EXPECT_NE(run({"-d", "-p"}), 0);
  EXPECT_NE(errorText.find("WatchCrashReportDirectory: check "
                           "\"sZorvaState.crashReportDirectoryDescriptor > 0\" failed"),
            std::string::npos)
      << errorText;
  fs::create_directories(logDirectory());
  handset.faults().fail("files.makeEventQueue");
  EXPECT_NE(run({"-d", "-p"}), 0);
  EXPECT_NE(errorText.find("check \"sZorvaState.kqueue > 0\" failed"), std::string::npos);
  EXPECT_EQ(handset.systemLog().takeLines().size(), 2U);
  EXPECT_EQ(fileNames(), Lines{});

  // One that cannot be watched only means that nothing follows a file that disappears.
  handset.faults().fail("files.watchDirectory");
  exitAt(0);
  EXPECT_EQ(run({"-d", "-p"}), 0);
  EXPECT_EQ(fileNames().size(), 1U);
  EXPECT_EQ(handset.systemLog().takeLines(),
            Lines{"Unable to watch /Library/Logs/Faultbox: a log file that disappears will not be "
                  "followed by a new one"});
}

TEST_F(ZorvaMainTest, AForeignFileIsNeitherWrittenToNorGivenAway) {
  if (::geteuid() != 0) GTEST_SKIP() << "files of others need root";
  handset.accounts().setUser("mobile", {501, 501});
  const fs::path planted = logDirectory() / "Zorva_2026-11-16-140000-9_Sim Phone.zorva";
  for (int attempt = 0; attempt <= 9; ++attempt) {
    const std::string suffix = attempt == 0 ? "" : "-" + std::to_string(attempt);
    std::ofstream(logDirectory() / ("Zorva_2026-11-16-140000" + suffix + "_Sim Phone.zorva"))
        << "root's";
  }
  exitAt(0);
  EXPECT_EQ(run({"-d", "-p"}), 0);
  struct stat status;
  ASSERT_EQ(::stat(planted.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 0U);
  EXPECT_EQ(linesOf(planted), Lines{"root's"});
  handset.systemLog().takeLines();
}

}  // namespace
}  // namespace zorva
