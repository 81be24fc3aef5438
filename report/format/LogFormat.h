#pragma once

#include <span>
#include <string_view>

namespace zorva {

/// What the value of a field is. Whatever its type, a value may also be one of the field's words,
/// such as "<unknown>".
enum class FieldType {
  Word,      ///< one of the field's words and nothing else
  Text,      ///< any text, which may hold blanks, "=" and ";"
  Integer,   ///< decimal
  Hex,       ///< hexadecimal without a prefix
  Real,      ///< decimal with a fraction
  Duration,  ///< hours:minutes:seconds, hours without limit
  DateTime,  ///< "2026-11-18 05:30:00 +0000"
};

/// What a value can give away, and so what has to happen to it before a log is shared.
enum class Privacy {
  Harmless,  ///< stays as it is
  Name,      ///< of a person, place, network, program, account or thing: becomes a token
  Address,   ///< an IP address, perhaps with a port: the address becomes a token
  Content,   ///< what somebody wrote, or raw bytes of traffic: becomes a token as a whole
};

/// A value with a meaning of its own.
struct WordFormat {
  std::string_view word;  ///< as it stands in the log: "<unknown>", "on"
  std::string_view meaning;
};

/// One field of an entry: " key=value;", with the unit behind the value where there is one.
struct FieldFormat {
  /// As it stands in the log; "*" where the key itself is a name or a state that the device gives
  /// (an interface, a process, a sensor).
  std::string_view key;
  FieldType type;
  std::string_view unit;  ///< as it follows the value: "%", " mV", "b"; empty where there is none
  std::string_view meaning;  ///< in full sentences; names the unit where the log does not
  std::string_view
      onLinux;  ///< where it comes from on Linux, or what stands there without a source
  Privacy privacy = Privacy::Harmless;
  std::span<const WordFormat> words = {};
};

/// How the body of an entry is written.
enum class EntryShape {
  Fields,  ///< " key=value; key=value;"
  Text,    ///< anything, perhaps over several lines
};

/// One category of entries.
struct EntryFormat {
  std::string_view category;  ///< what stands between the brackets
  EntryShape shape;
  std::string_view meaning;  ///< one sentence
  std::string_view written;  ///< when: "snapshot, level, change"
  std::string_view reveals;  ///< what it can tell about the device's owner; empty: nothing
  /// In the order of the log. A category whose entries differ has them all; any may be missing.
  std::span<const FieldFormat> fields = {};
};

/// Every category that Zorva writes, in alphabetical order. The one source for the manual
/// (zorva-log(5)), for reading logs and for redacting them.
std::span<const EntryFormat> logFormat();

/// The category's format, or nothing when Zorva does not write such entries.
const EntryFormat* entryFormat(std::string_view category);

}  // namespace zorva
