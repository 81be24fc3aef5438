#include "core/ZorvaMain.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>

#include "core/DirectoryWatch.h"
#include "core/Logging.h"
#include "core/Preferences.h"
#include "core/ZorvaState.h"
#include "platform/base/Text.h"
#include "platform/locale/DateFormatting.h"
#include "platform/loop/RunLoop.h"
#include "platform/notifications/SystemNotifications.h"
#include "platform/system/SystemLog.h"

namespace zorva {
namespace {

constexpr const char* kExitNotification = "com.vennor.zorva.exit";

void printUsage() {
  std::fprintf(stderr, "Usage: zorva [-Bdhpq]\n");
  std::fprintf(stderr, "Help:  Logs information relevant to power debugging in %s\n",
               kLogDirectory);
  std::fprintf(stderr, "Options:\n");
  std::fprintf(stderr, "    -B    Log battery levels (disables default logging)\n");
  std::fprintf(stderr, "    -d    Run as daemon, record data to a .zorva file\n");
  std::fprintf(stderr, "    -h    Print this help message and exit\n");
  std::fprintf(stderr, "    -q    exit after initial logging\n");
  std::fprintf(stderr, "    -p    Log power assertions (disables default logging)\n");
}

// Makes the row's logger and appends it to the list; one whose initialisation fails stays out.
bool appendLogger(const LoggerRow& row, const LoggerParts& parts) {
  auto logger = row.make(parts);
  if (!logger) return false;
  sZorvaState.loggers.push_back(std::move(logger));
  return true;
}

// A logger that was asked for by option is missed when it is not there.
void appendNamedLogger(const char* className, const LoggerTable& table, const LoggerParts& parts) {
  const LoggerRow* row = table.rowOf(className);
  if (row != nullptr && appendLogger(*row, parts)) return;
  parts.platform.systemLog.write(formatText("%s could not be started", className));
}

void appendDefaultLoggers(const LoggerTable& table, const LoggerParts& parts) {
  for (const LoggerRow& row : table.rows) {
    if (row.className == "ZVSyslogLogger" &&
        !CopyPreferenceValue(parts.platform.preferences, kRecordSyslog).boolean()) {
      continue;
    }
    appendLogger(row, parts);
  }
}

void releaseEverything() {
  sZorvaState.loggers.clear();
  sZorvaState.telephonyConnection.reset();
  sZorvaState.logFilePath.clear();
  UnwatchCrashReportDirectory();
  sZorvaState.platform = nullptr;
}

enum class Options { Usage, DefaultLoggers, NamedLoggers };

Options parseOptions(int argc, char* const argv[], const LoggerTable& table,
                     const LoggerParts& parts) {
  Options options = Options::DefaultLoggers;
  ::optind = 0;  // starts anew, also when this process has parsed options before
  ::opterr = 0;  // the usage text says it all
  for (int option = 0; (option = ::getopt(argc, argv, "+Bdhpq")) != -1;) {
    switch (option) {
      case 'B':
        appendNamedLogger("ZVBatteryLogger", table, parts);
        options = Options::NamedLoggers;
        break;
      case 'p':
        appendNamedLogger("ZVPowerAssertionLogger", table, parts);
        options = Options::NamedLoggers;
        break;
      case 'd':
        sZorvaState.runAsDaemon = true;
        break;
      case 'q':
        sZorvaState.exitAfterInitialLogging = true;
        break;
      default:
        return Options::Usage;
    }
  }
  return options;
}

void ExitNotificationCallback() {
  sZorvaState.platform->runLoop.stop();
}

void runUntilExit(const Platform& platform) {
  const Registration exitRegistration = platform.systemNotifications.subscribe(
      kExitNotification, [](std::string_view) { ExitNotificationCallback(); });
  if (!sZorvaState.exitAfterInitialLogging || sZorvaState.runAsDaemon) platform.runLoop.run();
  StopLogging();
}

}  // namespace

int ZorvaMain(int argc, char* const argv[], const Platform& platform, const LoggerTable& table) {
  sZorvaState = ZorvaState{};
  sZorvaState.platform = &platform;
  sZorvaState.telephonyConnection = table.makeTelephonyConnection(platform);

  NotificationCenter notifications;
  const auto entryDates = platform.dates.makeFormatter(ZVLogger::kEntryDatePattern);
  const ZVLogger::Services services{platform.clock, *entryDates, platform.systemLog,
                                    platform.systemNotifications, notifications};
  const LoggerParts parts{services, platform, sZorvaState.telephonyConnection};

  const Options options = parseOptions(argc, argv, table, parts);
  if (options == Options::Usage) {
    printUsage();
    releaseEverything();
    return 0;
  }
  if (sZorvaState.runAsDaemon && !WatchCrashReportDirectory()) {
    releaseEverything();
    return EXIT_FAILURE;
  }
  RegisterPreferenceDefaults(platform.preferences);
  if (options == Options::DefaultLoggers) appendDefaultLoggers(table, parts);

  StartLogging();
  runUntilExit(platform);
  releaseEverything();
  return 0;
}

}  // namespace zorva
