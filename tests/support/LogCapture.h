// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "core/LogStream.h"

namespace zorva {

/// A log that a test reads. A line that the test did not take fails it.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();

  LogStream& stream() { return stream_; }

  /// The lines written and flushed since the last call, without their newlines.
  std::vector<std::string> takeLines();
  /// The same without the date in front of each entry, whose shape is checked.
  std::vector<std::string> takeEntries();

 private:
  LogStream stream_;
  off_t taken_ = 0;
};

/// The entry without its date: "[Battery] level=87.00%;". A line that is no entry fails the test.
std::string withoutDate(const std::string& line);

/// If there are lines, fails the test and names them.
void expectNoLines(const char* where, const std::vector<std::string>& lines);

}  // namespace zorva
