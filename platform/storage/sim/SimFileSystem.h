// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <set>
#include <string>
#include <system_error>

#include "platform/scenario/SimParts.h"
#include "platform/storage/FileSystem.h"
#include "platform/storage/PosixFileSystem.h"
#include "platform/system/SystemLog.h"

namespace zorva {

/// The handset's files: real ones, below a directory of this machine.
class SimFileSystem : public FileSystem {
 public:
  static constexpr const char* kLogDirectory = "/Library/Logs/Faultbox";

  /// The root directory must exist. Failed actions of a scenario are reported to the system log.
  SimFileSystem(SimParts& parts, std::string root, SystemLog& systemLog);

  std::string hostPath(const std::string& path) const override { return files_.hostPath(path); }
  int openForEvents(const std::string& directory) override;
  int makeEventQueue() override;
  bool watchDirectory(int queue, int directory) override;
  void takeEvents(int queue) override { files_.takeEvents(queue); }

  /// Writes a whole file, and creates missing parent directories.
  void writeFile(const std::string& path, const std::string& contents);
  void removeFile(const std::string& path);
  /// Moves the current log, the daemon's own ".zorva" file in the log directory, one directory up.
  void moveLog(const std::string& newName);
  void removeLog();

 private:
  std::optional<std::string> currentLog();
  void report(const std::string& problem, const std::error_code& error);

  PosixFileSystem files_;
  std::set<std::string> foreign_;  ///< files of the log directory that are not the daemon's
  SystemLog& systemLog_;
  SimFaultPoint openForEventsFault_;
  SimFaultPoint makeEventQueueFault_;
  SimFaultPoint watchDirectoryFault_;
};

}  // namespace zorva
