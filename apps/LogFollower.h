#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/base/Descriptor.h"
#include "report/read/LogInput.h"

namespace zorva {

/// Reads a log that grows, and the ones that are begun after it beside it: files of the same
/// directory and extension. Waits for inotify's events.
class LogFollower {
 public:
  /// `quiet` is called when all has been read that there is, and once more when a second has passed
  /// without anything new. What it returns says whether to go on.
  LogFollower(LogInput input, std::function<bool(bool forAWhile)> quiet);

  /// Begins; nothing, or what is wrong.
  std::string watch();

  const LogInput& input() const { return *input_; }

  /// As LogReader::Read has it; waits for more at the end of the file. 0 when another file has been
  /// begun.
  std::ptrdiff_t read(char* to, std::size_t most);

  /// Goes on with that one. False when there is none.
  bool next();

 private:
  bool wait();
  void takeEvents();
  void consider(const std::string& name);

  std::optional<LogInput> input_;
  std::function<bool(bool)> quiet_;
  std::string first_;  // the name of the file that was given
  std::string directory_;
  std::string extension_;
  Descriptor queue_;
  std::string next_;
  bool drained_ = false;  // what was left in the file when the next one was begun has been read
};

}  // namespace zorva
