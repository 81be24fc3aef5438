// SPDX-License-Identifier: Apache-2.0
#include "core/ZorvaMain.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

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

// Makes the row's logger and appends it to the list. One whose initialisation fails stays out, at
// least until its source appears; it then logs from there on.
void appendLogger(const LoggerRow& row, const LoggerParts& parts) {
  if (auto logger = row.make(parts)) {
    sZorvaState.loggers.push_back(std::move(logger));
    return;
  }
  if (row.observeSource == nullptr) return;
  std::vector<Registration>& awaited = sZorvaState.awaitedSources;
  awaited.push_back(row.observeSource(parts.platform, [&, index = awaited.size()] {
    auto logger = row.make(parts);
    if (!logger) return;
    StartLogger(*sZorvaState.loggers.emplace_back(std::move(logger)));
    awaited[index].reset();
  }));
}

// The loggers that options have asked for, in the order of the command line.
void appendNamedLoggers(const std::string& options, const LoggerTable& table,
                        const LoggerParts& parts) {
  for (const char option : options) {
    for (const LoggerRow& row : table.rows) {
      if (row.option == option) appendLogger(row, parts);
    }
  }
}

void appendDefaultLoggers(const LoggerTable& table, const LoggerParts& parts) {
  for (const LoggerRow& row : table.rows) {
    if (row.preference != nullptr &&
        !CopyPreferenceValue(parts.platform.preferences, row.preference).boolean()) {
      continue;
    }
    appendLogger(row, parts);
  }
}

void releaseEverything() {
  sZorvaState.awaitedSources.clear();
  sZorvaState.loggers.clear();
  sZorvaState.telephonyConnection.reset();
  sZorvaState.logFilePath.clear();
  UnwatchCrashReportDirectory();
  sZorvaContext.platform = nullptr;
}

// Applies the options. Returns those that select a logger, in their order, or nothing if the usage
// text is requested.
std::optional<std::string> parseOptions(int argc, char* const argv[]) {
  std::string named;
  ::optind = 0;  // resets getopt, in case this process has parsed options before
  ::opterr = 0;  // the usage text says it all
  for (int option = 0; (option = ::getopt(argc, argv, "+Bdhpq")) != -1;) {
    switch (option) {
      case 'B':
      case 'p':
        named += static_cast<char>(option);
        break;
      case 'd':
        sZorvaState.runAsDaemon = true;
        break;
      case 'q':
        sZorvaState.exitAfterInitialLogging = true;
        break;
      default:
        return std::nullopt;
    }
  }
  return named;
}

void ExitNotificationCallback() {
  sZorvaContext.platform->runLoop.stop();
}

// Notices a reader that closes the pipe while nothing is being written. Only for pipes, and not for
// one that is also open for reading: its own contents would count as events.
Registration watchReader(RunLoop& loop) {
  struct stat status;
  if (sZorvaState.runAsDaemon || ::fstat(STDOUT_FILENO, &status) != 0 ||
      !S_ISFIFO(status.st_mode) || (::fcntl(STDOUT_FILENO, F_GETFL) & O_ACCMODE) != O_WRONLY) {
    return {};
  }
  return loop.watchDescriptor(STDOUT_FILENO, ReaderIsGone);
}

// Returns false if the run loop failed.
bool runUntilExit(const ZorvaHost& host, const Platform& platform) {
  const Registration exitRegistration = platform.systemNotifications.observe(
      kExitNotification, [](std::string_view) { ExitNotificationCallback(); });
  const bool runs = !sZorvaState.exitAfterInitialLogging || sZorvaState.runAsDaemon;
  bool ended = true;
  if (runs && !sZorvaContext.readerIsGone) {
    const Registration reader = watchReader(platform.runLoop);
    if (host.ready) host.ready();
    ended = platform.runLoop.run();
  }
  if (!ended) platform.systemLog.write("The run loop has failed; logging ends");
  StopLogging();
  return ended;
}

}  // namespace

int ZorvaMain(int argc, char* const argv[], const ZorvaHost& host, const LoggerTable& table) {
  sZorvaState = ZorvaState{};
  sZorvaContext.readerIsGone = false;
  const auto named = parseOptions(argc, argv);
  if (!named) {
    printUsage();
    return 0;
  }
  const Platform* const made = host.makePlatform();
  if (made == nullptr) return EXIT_FAILURE;
  const Platform& platform = *made;
  sZorvaContext.platform = made;
  sZorvaState.telephonyConnection = table.makeTelephonyConnection(platform);

  NotificationCenter notifications;
  const auto entryDates = platform.dates.makeFormatter(ZVLogger::kEntryDatePattern);
  const ZVLogger::Services services{platform.clock, *entryDates, platform.systemLog,
                                    platform.systemNotifications, notifications};
  const LoggerParts parts{services, platform, sZorvaState.telephonyConnection};

  appendNamedLoggers(*named, table, parts);
  if (sZorvaState.runAsDaemon && !WatchCrashReportDirectory()) {
    releaseEverything();
    return EXIT_FAILURE;
  }
  RegisterPreferenceDefaults(platform.preferences);
  if (sZorvaState.loggers.empty()) {
    sZorvaState.awaitedSources.clear();
    appendDefaultLoggers(table, parts);
  }

  StartLogging();
  const bool ended = runUntilExit(host, platform);
  releaseEverything();
  return ended ? 0 : EXIT_FAILURE;
}

}  // namespace zorva
