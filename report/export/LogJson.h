// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "report/read/LogReader.h"

namespace zorva {

/// Writes the pieces of a log as JSON, one object on each line, for databases and other programs;
/// zorva-report(1) describes it. "raw" is the piece itself. If the piece is not all UTF-8, "bytes"
/// stands in its place. Concatenated, they are the log to the byte.
class LogJson {
 public:
  /// `file` is written unchanged.
  void append(const LogRecord& record, std::string_view file, std::string& to);

 private:
  void appendFields(const LogRecord& record, std::string& to);

  std::vector<LogField> fields_;
  std::vector<const LogField*> listed_;
  std::vector<const LogField*> unknown_;
  std::string category_;
  LogTime time_ = 0;
  std::string timeText_;  // of that time
};

/// The time as written in the JSON: "2026-11-16T21:30:00".
std::string isoTime(LogTime time);

}  // namespace zorva
