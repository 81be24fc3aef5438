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

/// One run of zorva-sim: a handset in the start state of a scenario, its steps planned, and the
/// options for the daemon that is to run on it.
class SimRun {
 public:
  /// Reads "zorva-sim SCENARIO [--root DIR] [--truth FILE] [-- ZORVA-OPTIONS]". With nothing to
  /// run, `status` is the exit status: 0 after --help or --version, 2 after a wrong option or a bad
  /// scenario, which `err` then explains. From then on the handset's system log goes to `err`,
  /// which must outlive the run, each line led by "syslog: ".
  static std::optional<SimRun> fromArguments(int argc, const char* const argv[], int& status,
                                             std::ostream& out, std::ostream& err);

  const Platform& platform() const { return handset_->platform(); }
  SimHandset& handset() { return *handset_; }

  /// The command line for the daemon, its name first, ended by a null pointer. Good as long as this
  /// object stays where it is.
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
