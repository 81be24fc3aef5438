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

/// What a piece of a log is. The pieces, one behind the other, are the log to the byte.
enum class LogPiece {
  Entry,      ///< date, category and body; over several lines where the body is a dump
  Version,    ///< "Zorva Version: 5", the first line of a log file
  Separator,  ///< an empty line
  Damaged,    ///< anything else: a line that was cut, glued to another one, or never was ours
};

/// One piece of a log. The texts point into the reader and hold until its next piece.
struct LogRecord {
  LogPiece piece = LogPiece::Damaged;
  std::string_view raw;       ///< the line or lines as they stand, with their ends
  std::uint64_t line = 0;     ///< number of the first line in its file, from 1
  std::uint64_t lines = 0;    ///< how many lines it has; 0 for the rest of one too long to hold
  std::string_view date;      ///< entries: as it stands
  LogTime time = 0;           ///< entries: see LogTime.h
  std::string_view category;  ///< entries: what stands between the brackets
  std::string_view body;      ///< entries: what is behind the "]", without the last line's end
  const EntryFormat* format = nullptr;  ///< entries: nothing for a category that is not known
  /// Entries: by how many seconds the time is before the previous entry's; 0 where it is not. An
  /// entry that carries another's time ([Syslog]) is never compared. Reported, not mended: the
  /// clock was set, or the device went to another time zone.
  std::int64_t backwards = 0;

  /// An entry that tells the log's time: not what only quotes a message with the time it had.
  bool isTimed() const { return piece == LogPiece::Entry && category != kQuotedCategory; }

  static constexpr std::string_view kQuotedCategory = "Syslog";
};

/// A field of an entry. The fields' raw texts, one behind the other, are the entry's body.
struct LogField {
  std::string_view raw;                 ///< " level=62.50%;"
  std::string_view key;                 ///< "level"; empty for a text without a key
  std::string_view value;               ///< "62.50": without the unit, where the format has one
  const FieldFormat* format = nullptr;  ///< nothing for a key that is not known
  std::string_view unit;  ///< as it follows the value; empty where a word stands in its place

  /// The value by its type, or nothing when it is a word in the value's place, or damaged.
  std::optional<std::int64_t> integer() const;  ///< of a hexadecimal one, too
  std::optional<double> real() const;           ///< also of an integer; "nan" and "inf" are reals
  std::optional<std::int64_t> seconds() const;  ///< of a duration "hours:minutes:seconds"
  /// The value is one of the words that its field knows, or "(null)", or "<unknown>".
  bool isWord() const;
  /// The value is what the format says it is: a word, or a value of its type with its unit.
  bool isWellFormed() const;
};

struct LogCounts {
  std::uint64_t bytes = 0;
  std::uint64_t lines = 0;
  std::uint64_t entries = 0;
  std::uint64_t damaged = 0;    ///< pieces
  std::uint64_t backwards = 0;  ///< entries whose time is before the previous one's
};

/// Reads logs piece by piece, from first to last byte, whatever is in them. Holds one buffer of a
/// quarter MiB, or as much as the longest piece needs, at most kLongestPiece; what is longer is
/// given as several damaged pieces.
class LogReader {
 public:
  static constexpr std::size_t kMaxPieceLength = 4 << 20;  ///< bytes

  /// Fills up to so many bytes and returns their number: 0 at the end, -1 with errno when it fails.
  using Read = std::function<std::ptrdiff_t(char* to, std::size_t most)>;

  explicit LogReader(std::span<const EntryFormat> format = logFormat());

  /// Begins with a file; what was not read of the one before is dropped. The time goes on from
  /// there: files that follow one another are one log.
  void begin(Read read);

  /// The next piece. False at the end, and when reading failed: then error() tells why.
  bool next(LogRecord& record);

  /// errno of the read that failed, or 0.
  int error() const { return error_; }

  /// Of all files so far.
  const LogCounts& counts() const { return counts_; }

 private:
  bool fill();
  std::size_t lineEnd(std::size_t from);
  void readLine(LogRecord& record, std::string_view line);
  void readEntry(LogRecord& record, std::string_view line);
  void readDump(LogRecord& record, std::size_t end);
  void countTime(LogRecord& record);
  const EntryFormat* formatOf(std::string_view category);

  std::unordered_map<std::string_view, const EntryFormat*> formats_;
  std::array<const EntryFormat*, 64> recent_{};  // by what tells most categories apart
  Read read_;
  std::vector<char> buffer_;
  std::size_t start_ = 0;  // of what is not given yet
  std::size_t end_ = 0;    // of what has been read
  bool ended_ = true;
  bool inLongLine_ = false;
  int error_ = 0;
  std::uint64_t line_ = 1;
  LogCounts counts_;
  LogClock clock_;
  std::optional<LogTime> previous_;
};

/// To read a text that is in memory and outlives the reading, at most so many bytes at a time.
LogReader::Read readFrom(std::string_view text, std::size_t most = LogReader::kMaxPieceLength);
/// To read a stream that outlives the reading. What it could not read stays in its state.
LogReader::Read readFrom(std::istream& stream);

/// The fields of an entry, in their order, with what remains as texts without a key. A value may
/// hold ";" and "=": it ends where one of the category's later keys follows. Without a known format
/// the body is split where each piece has the form of a field, and else is one text.
void splitFields(const LogRecord& entry, std::vector<LogField>& fields);

}  // namespace zorva
