// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>

#include "platform/base/Descriptor.h"
#include "report/read/LogInput.h"

namespace zorva {

/// Reads a growing log, then the logs that are created after it: files with the same extension in
/// the same directory. Waits for inotify events.
class LogFollower {
 public:
  using Seconds = std::chrono::seconds;
  static constexpr Seconds kNever = std::chrono::years(100);

  /// Called when everything has been read, and again after so many seconds without new text as it
  /// has returned, by a clock that stops while the machine is suspended. Returns nothing to end.
  using Quiet = std::function<std::optional<Seconds>(Seconds silence)>;

  LogFollower(LogInput input, Quiet quiet);

  /// Starts watching. Returns an error message, or an empty text.
  std::string watch();

  const LogInput& input() const { return *input_; }

  /// A LogReader::Read; waits for more at the end of the file. Returns 0 if another file has been
  /// created.
  std::ptrdiff_t read(char* to, std::size_t most);

  /// Continues with that file. Returns false if there is none.
  bool next();

 private:
  using Clock = std::chrono::steady_clock;

  bool wait();
  void takeEvents();
  void consider(const std::string& name);
  void openNext();

  std::optional<LogInput> input_;
  Quiet quiet_;
  std::string first_;  // the name of the file that was given
  std::string directory_;
  std::string extension_;
  Descriptor queue_;
  std::deque<std::string> created_;  // paths, not opened yet
  std::optional<LogInput> next_;
  Clock::time_point silentSince_ = Clock::now();
  bool drained_ = false;  // the rest of the file was read after the next one was opened
};

}  // namespace zorva
