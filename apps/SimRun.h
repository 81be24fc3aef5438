// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fstream>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/assemble/Platform.h"
#include "platform/assemble/SimHandset.h"

namespace zorva {

/// One run of zorva-sim: a handset in the start state of a scenario, with its steps scheduled, and
/// the options of the daemon that is to run on it.
class SimRun {
 public:
  /// Reads "zorva-sim SCENARIO [--root DIR] [--truth FILE] [-- ZORVA-OPTIONS]". If there is nothing
  /// to run, `status` is the exit status: 0 after --help or --version, 2 after a wrong option or an
  /// invalid scenario, which is then reported on `err`. From then on the handset's system log goes
  /// to `err`, which must outlive the run; each line starts with "syslog: ".
  static std::optional<SimRun> fromArguments(int argc, const char* const argv[], int& status,
                                             std::ostream& out, std::ostream& err);

  const Platform& platform() const { return handset_->platform(); }
  SimHandset& handset() { return *handset_; }

  /// The daemon's command line: its name, the options, and a null pointer. Valid until this object
  /// is moved or destroyed.
  int zorvaArgumentCount() const { return static_cast<int>(zorvaArguments_.size()); }
  char* const* zorvaArguments();

  /// Writes the file of --truth: what each cause used until now. False, explained in `err`, when it
  /// cannot be written; true where there is nothing to write.
  bool writeTruth(std::ostream& err);

 private:
  SimRun() = default;

  std::unique_ptr<SimHandset> handset_;
  std::vector<std::string> zorvaArguments_;
  std::vector<char*> pointers_;
  std::string truthName_;
  std::ofstream truth_;
};

}  // namespace zorva
