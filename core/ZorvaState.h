// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/LogStream.h"
#include "core/LoggerTable.h"
#include "core/ZVLogger.h"
#include "platform/assemble/Platform.h"
#include "platform/base/Registration.h"

namespace zorva {

/// Where crash reports and our log files go.
inline constexpr const char* kLogDirectory = "/Library/Logs/Faultbox";

/// Everything that the entry point, StartLogging and StopLogging, and the directory watch share.
struct ZorvaState {
  bool exitAfterInitialLogging = false;
  bool runAsDaemon = false;
  std::vector<std::unique_ptr<ZVLogger>> loggers;  ///< in the order in which they were made
  std::vector<Registration> awaitedSources;        ///< of loggers that could not be made yet
  SharedConnection telephonyConnection;
  std::unique_ptr<LogStream> logFile;  ///< where every entry goes
  std::string logFilePath;             ///< path of the current log file; empty: none
  int kqueue = -1;                     ///< queue of events of the log directory
  int crashReportDirectoryDescriptor = -1;
  Registration watchSource;            ///< delivers the queue's readiness to the run loop
  Registration watchDescriptorObject;  ///< the queue as the run loop's; its end closes the queue
};

extern ZorvaState sZorvaState;

/// What else lasts as long as the run or the process.
struct ZorvaContext {
  const Platform* platform = nullptr;   ///< of the run, not owned
  std::optional<bool> gasGaugeEnabled;  ///< the device's answer, asked once per process
  bool readerIsGone = false;            ///< no process reads our standard output any more
};

extern ZorvaContext sZorvaContext;

/// Ends the run: nothing that is written to standard output arrives any more.
void ReaderIsGone();

}  // namespace zorva
