// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace zorva {

/// The location of the device's files on this machine, and events about one directory's entries.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  /// The path of the device's file for calls of the C library.
  virtual std::string hostPath(const std::string& path) const = 0;

  /// A descriptor of the device's directory, only for event notification; -1, with the reason in
  /// errno, if it cannot be opened. The caller closes it with close(2).
  virtual int openForEvents(const std::string& directory) = 0;

  /// An event queue that the run loop can watch; -1, with the reason in errno, if it cannot be
  /// created. The caller closes it with close(2).
  virtual int makeEventQueue() = 0;

  /// Makes the queue readable after each change in the directory: an entry added, removed or
  /// renamed, attributes changed, the directory itself deleted or moved. Writes to files do not
  /// count. Returns false if the directory cannot be watched.
  virtual bool watchDirectory(int queue, int directory) = 0;

  /// Removes all pending events from the queue, so that only the next change makes it readable
  /// again. Never blocks.
  virtual void takeEvents(int queue) = 0;
};

}  // namespace zorva
