// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "report/read/LogInput.h"

namespace zorva {

/// Shows on a terminal (standard error) how much of the logs has been read, once that takes more
/// than a second.
class Progress {
 public:
  Progress(std::string program, const std::vector<LogInput>& inputs);
  ~Progress();

  /// Reports that `bytes`, as they are stored, have been read of the current log.
  void at(std::uint64_t bytes) {
    if (finished_ + bytes >= next_) show(finished_ + bytes);
  }
  /// Reports that the current log, of so many bytes, has been read.
  void finished(std::uint64_t bytes) { finished_ += bytes; }

 private:
  void show(std::uint64_t bytes);

  std::string program_;
  bool shown_;
  bool reported_ = false;
  std::uint64_t total_ = 0;
  std::uint64_t finished_ = 0;
  std::uint64_t next_ = 0;
  std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

}  // namespace zorva
