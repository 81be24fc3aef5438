// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "platform/storage/FileSystem.h"

namespace zorva {

/// The device's files as files of this machine, below a root directory if one is given. Directory
/// events come from inotify.
///
/// A directory is watched by its path: once it is deleted or moved away, its nearest existing
/// ancestor is watched instead, the queue becomes readable when entries appear there, and as soon
/// as the directory has been created again it is watched.
class PosixFileSystem : public FileSystem {
 public:
  /// `root` is prepended to every path of the device; without it they are the machine's own paths.
  explicit PosixFileSystem(std::string root = {});

  std::string hostPath(const std::string& path) const override { return root_ + path; }
  int openForEvents(const std::string& directory) override;
  int makeEventQueue() override;
  bool watchDirectory(int queue, int directory) override;
  void takeEvents(int queue) override;

 private:
  // The watches of a queue, by inotify's numbers, -1 for none. The parent reports the directory's
  // deletion: the directory itself does not while a process has it open.
  struct Watch {
    std::string path;
    int directory = -1;
    int ancestor = -1;  // the parent, or its nearest ancestor that exists
  };
  static bool refresh(int queue, Watch& watch);

  std::string root_;
  std::map<int, Watch> watches_;  // by queue
};

}  // namespace zorva
