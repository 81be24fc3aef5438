// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "report/read/LogReader.h"

namespace zorva {

/// Writes the pieces of logs as JSON, one object on each line, for databases and other programs;
/// zorva-report(1) describes it. "raw" is the piece itself. If the piece is not all UTF-8, "bytes"
/// stands in its place. Concatenated, they are the log to the byte.
///
/// The name of a log ("log") depends on its first entries, and the zone of a snapshot is in its
/// last entry. Until both are known, lines are held back.
class LogJson {
 public:
  /// Changes when a member gets another name, type or meaning, not when one is added.
  static constexpr int kSchema = 1;

  /// `device` is written unchanged; empty for none.
  explicit LogJson(const std::string& device = {});

  /// Takes every piece, and writes those that are wanted. `file` is written unchanged.
  void add(const LogRecord& record, std::string_view file, bool wanted, std::string& to);

  /// Writes what is held back.
  void release(std::string& to);

  /// How each line begins: "{" and the members that all have.
  const std::string& lineBegin() const { return lineBegin_; }

 private:
  struct Held {
    std::string before;
    std::optional<LogTime> snapshot;  // time of an entry whose zone is known at the snapshot's end
    std::string after;                // what follows the log's name
  };

  void noticeEntry(const LogRecord& record);
  void append(const LogRecord& record, std::string_view file, Held& to);
  void appendHeld(const Held& line, std::string& to);
  void appendUtc(LogTime time, std::string& to) const;
  void appendFields(const LogRecord& record, std::string& to);

  std::string lineBegin_;
  Held line_;
  std::vector<Held> held_;
  // The current log.
  std::string file_;
  std::uint64_t lastLine_ = 0;
  int named_ = 0;  // of its entries, that its name is made from
  LogTime begin_ = 0;
  std::uint32_t hash_ = 0;
  std::string name_;
  bool inSnapshot_ = false;
  // The zone; empty if it is not known.
  std::string zone_;
  LogTime zoneSince_ = 0;
  LogTime offset_ = 0;
  // For the fields.
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
