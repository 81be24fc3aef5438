// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace zorva {

/// The device's directory of crash reports and of our log files.
inline constexpr const char* kLogDirectory = "/Library/Logs/Faultbox";

/// Where the device's files are on this machine, and events about one directory's entries.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  /// The path under which the file of the device is reached by the calls of the C library.
  virtual std::string hostPath(const std::string& path) const = 0;

  /// A descriptor on the device's directory, good for nothing but event notification; -1, and the
  /// reason in errno, when it cannot be opened. The caller closes it with close(2).
  virtual int openForEvents(const std::string& directory) = 0;

  /// A queue of events that the run loop can watch; -1, and the reason in errno, when there is none
  /// to be had. The caller closes it with close(2).
  virtual int makeEventQueue() = 0;

  /// From now on the queue is readable after a change in the directory: an entry added, removed or
  /// renamed, attributes changed, the directory itself deleted or moved. What is written into the
  /// files does not count. Returns false when the directory cannot be watched.
  virtual bool watchDirectory(int queue, int directory) = 0;

  /// Takes what has happened so far off the queue, so that only the next change makes it readable
  /// again. Never blocks.
  virtual void takeEvents(int queue) = 0;
};

}  // namespace zorva
