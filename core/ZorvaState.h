#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/LogStream.h"
#include "core/ZVLogger.h"
#include "platform/assemble/Platform.h"
#include "platform/base/Registration.h"

namespace zorva {

class ZVTelephonyConnection;

/// Where crash reports and our log files go.
inline constexpr const char* kLogDirectory = "/Library/Logs/Faultbox";

/// Everything that the entry point, StartLogging and StopLogging, and the directory watch share.
struct ZorvaState {
  bool exitAfterInitialLogging = false;
  bool runAsDaemon = false;
  std::vector<std::unique_ptr<ZVLogger>> loggers;  ///< in the order in which they were made
  std::shared_ptr<ZVTelephonyConnection> telephonyConnection;
  std::unique_ptr<LogStream> logFile;  ///< where every entry goes
  std::string logFilePath;             ///< path of the current log file; empty: none
  int kqueue = -1;                     ///< queue of events of the log directory
  int crashReportDirectoryDescriptor = -1;
  Registration watchSource;  ///< delivers the queue's readiness to the run loop

  std::optional<bool> gasGaugeEnabled;  ///< the device's answer, asked once per process
  const Platform* platform = nullptr;   ///< of the run, not owned
};

extern ZorvaState sZorvaState;

}  // namespace zorva
