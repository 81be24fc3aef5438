// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "report/format/LogFormat.h"
#include "report/format/LogTime.h"

namespace zorva {

/// The kind of a piece of a log. Concatenated, the pieces are the log to the byte.
enum class LogPiece {
  Entry,      ///< date, category and body; over several lines where the body is a dump
  Version,    ///< "Zorva Version: 5", the first line of a log file
  Separator,  ///< an empty line
  Damaged,    ///< anything else: a line that was cut, joined to another, or not from Zorva
};

/// One piece of a log. The texts point into the reader and are valid until its next piece.
struct LogRecord {
  LogPiece piece = LogPiece::Damaged;
  std::string_view raw;       ///< the line or lines unchanged, with their ends
  std::uint64_t line = 0;     ///< number of the first line in its file, from 1
  std::uint64_t lines = 0;    ///< how many lines it has; 0 for the rest of one too long to hold
  std::string_view date;      ///< entries: as in the log
  LogTime time = 0;           ///< entries: see LogTime.h
  std::string_view category;  ///< entries: the text between the brackets
  std::string_view body;      ///< entries: what follows the "]", without the last line's end
  const EntryFormat* format = nullptr;  ///< entries: null for an unknown category
  /// Entries: seconds by which the time is before the previous entry's; 0 if it is not. An entry
  /// that carries another's time ([Syslog]) is never compared. Times are reported, not corrected:
  /// the clock was set, or the device moved to another time zone.
  std::int64_t backwards = 0;

  /// An entry with the log's own time. One that quotes a message with its time is not.
  bool isTimed() const { return piece == LogPiece::Entry && category != kQuotedCategory; }

  static constexpr std::string_view kQuotedCategory = "Syslog";
};

/// A field of an entry. Concatenated, the fields' raw texts are the entry's body.
struct LogField {
  std::string_view raw;                 ///< " level=62.50%;"
  std::string_view key;                 ///< "level"; empty for a text without a key
  std::string_view value;               ///< "62.50": without the unit, where the format has one
  const FieldFormat* format = nullptr;  ///< null for an unknown key
  std::string_view unit;  ///< as it follows the value; empty where a word stands in its place
  bool absent = false;    ///< the number only says that the source reports none

  /// The value by its type; empty if it is a word in the value's place, or damaged.
  std::optional<std::int64_t> integer() const;  ///< of a hexadecimal one, too
  std::optional<double> real() const;           ///< also of an integer; "nan" and "inf" are reals
  std::optional<std::int64_t> seconds() const;  ///< of a duration "hours:minutes:seconds"
  /// Whether the value is one of the field's words, "(null)" or "<unknown>".
  bool isWord() const;
  /// Whether the value matches its format: a word, or a value of its type with its unit.
  bool isWellFormed() const;
};

struct LogCounts {
  std::uint64_t bytes = 0;
  std::uint64_t lines = 0;
  std::uint64_t entries = 0;
  std::uint64_t damaged = 0;    ///< pieces
  std::uint64_t backwards = 0;  ///< entries whose time is before the previous one's
};

/// Reads logs with any contents piece by piece, from first to last byte. Holds one buffer of a
/// quarter MiB, or as much as the longest piece needs, at most kMaxPieceLength. A longer piece is
/// returned as several damaged ones.
class LogReader {
 public:
  static constexpr std::size_t kMaxPieceLength = 4 << 20;  ///< bytes

  /// Fills up to so many bytes and returns their number: 0 at the end, -1 with errno when it fails.
  using Read = std::function<std::ptrdiff_t(char* to, std::size_t most)>;

  explicit LogReader(std::span<const EntryFormat> format = logFormat());

  /// Begins with a file. The unread rest of the previous one is discarded. The time continues from
  /// there: files that follow one another are one log.
  void begin(Read read);

  /// The next piece. False at the end, and if reading failed: then error() has the reason.
  bool next(LogRecord& record);

  /// errno of the read that failed, or 0.
  int error() const { return error_; }

  /// As in LogClock.
  const std::string& unreadableCalendar() const { return clock_.unreadableCalendar(); }

  /// Of all files so far.
  const LogCounts& counts() const { return counts_; }

 private:
  bool fill();
  bool readLocale(std::string_view body);
  void findLocale();
  std::size_t lineEnd(std::size_t from);
  void readLine(LogRecord& record, std::string_view line);
  void readEntry(LogRecord& record, std::string_view line);
  void readDump(LogRecord& record, std::size_t end);
  void countTime(LogRecord& record);
  const EntryFormat* formatOf(std::string_view category);

  std::unordered_map<std::string_view, const EntryFormat*> formats_;
  std::array<const EntryFormat*, 64> recent_{};  // indexed by what differs in most categories
  Read read_;
  std::vector<char> buffer_;
  std::size_t start_ = 0;  // of what has not been returned yet
  std::size_t end_ = 0;    // of what has been read
  bool ended_ = true;
  bool begun_ = false;  // something was read of this file
  bool inLongLine_ = false;
  int error_ = 0;
  std::uint64_t line_ = 1;
  LogCounts counts_;
  LogClock clock_;
  std::optional<LogTime> previous_;
};

/// Reads a text in memory that outlives the reading, at most so many bytes at a time.
LogReader::Read readFrom(std::string_view text, std::size_t most = LogReader::kMaxPieceLength);
/// Reads a stream that outlives the reading. A failure stays in the stream's state.
LogReader::Read readFrom(std::istream& stream);

/// The fields of an entry, in their order; the rest as texts without a key. A value may hold ";"
/// and "=": it ends where one of the category's later keys follows. Without a known format, the
/// body is split if each piece has the form of a field, and is one text otherwise.
void splitFields(const LogRecord& entry, std::vector<LogField>& fields);

}  // namespace zorva
