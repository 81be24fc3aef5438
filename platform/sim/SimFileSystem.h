#pragma once

#include <string>

#include "platform/FileSystem.h"
#include "platform/sim/SimFaults.h"

namespace zorva {

/// The handset's files: real ones, below a directory of this machine.
class SimFileSystem : public FileSystem {
 public:
  SimFileSystem(SimFaults& faults, std::string root)
      : root_(std::move(root)),
        openForEventsFault_(faults, "files.openForEvents"),
        makeEventQueueFault_(faults, "files.makeEventQueue"),
        watchDirectoryFault_(faults, "files.watchDirectory") {}

  std::string hostPath(const std::string& path) const override { return root_ + path; }
  int openForEvents(const std::string& directory) override;
  int makeEventQueue() override;
  bool watchDirectory(int queue, int directory) override;
  void takeEvents(int queue) override;

 private:
  std::string root_;
  SimFaultPoint openForEventsFault_;
  SimFaultPoint makeEventQueueFault_;
  SimFaultPoint watchDirectoryFault_;
};

}  // namespace zorva
