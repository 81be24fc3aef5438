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

/// The directory of crash reports and of our log files.
inline constexpr const char* kLogDirectory = "/Library/Logs/Faultbox";

/// The state shared by the entry point, StartLogging, StopLogging and the directory watch.
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
  Registration watchSource;            ///< reports to the run loop that the queue is readable
  Registration watchDescriptorObject;  ///< the queue's source in the run loop; destroying it closes
                                       ///< the queue
};

extern ZorvaState sZorvaState;

/// Other state that lasts as long as the run or the process.
struct ZorvaContext {
  const Platform* platform = nullptr;   ///< of the run, not owned
  std::optional<bool> gasGaugeEnabled;  ///< read from the device once per process
  bool readerIsGone = false;            ///< no process reads our standard output any more
};

extern ZorvaContext sZorvaContext;

/// Ends the run because standard output has no reader any more.
void ReaderIsGone();

}  // namespace zorva
