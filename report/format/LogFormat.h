// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string_view>

namespace zorva {

/// The type of a field's value. A value of any type can also be one of the field's words, such as
/// "<unknown>".
enum class FieldType {
  Word,      ///< one of the field's words and nothing else
  Text,      ///< any text, which may contain blanks, "=" and ";"
  Integer,   ///< decimal
  Hex,       ///< hexadecimal without a prefix
  Real,      ///< decimal with a fraction
  Duration,  ///< hours:minutes:seconds, hours without limit
  DateTime,  ///< "2026-11-18 05:30:00 +0000"
};

/// What a value can reveal, and so how it is treated before a log is shared.
enum class Privacy {
  Harmless,  ///< stays as it is
  Name,      ///< of a person, place, network, program, account or thing: becomes a token
  Address,   ///< an IP address, perhaps with a port: the address becomes a token
  Content,   ///< a person's text, or raw bytes of traffic: becomes a token as a whole
};

/// A value with a meaning of its own.
struct WordFormat {
  std::string_view word;  ///< as written in the log: "<unknown>", "on"
  std::string_view meaning;
};

/// A number that stands in the log where the source reports none.
struct AbsentFormat {
  std::string_view value;  ///< without the unit; empty if there is no such number
  /// The key of a field of the same entry: the number means nothing only where that is "<unknown>".
  /// Empty if it never means anything.
  std::string_view besideUnknown = {};
};

/// One field of an entry: " key=value;". If there is a unit, it follows the value.
struct FieldFormat {
  /// As written in the log. "*" if the key itself is a name or a state from the device (an
  /// interface, a process, a sensor).
  std::string_view key;
  FieldType type;
  std::string_view unit;  ///< as it follows the value: "%", " mV", "b"; empty where there is none
  std::string_view meaning;  ///< in full sentences; names the unit where the log does not
  std::string_view onLinux;  ///< its source on Linux, or the value where there is no source
  Privacy privacy = Privacy::Harmless;
  std::span<const WordFormat> words = {};
  AbsentFormat absent = {};
};

/// How the body of an entry is written.
enum class EntryShape {
  Fields,  ///< " key=value; key=value;"
  Text,    ///< anything, perhaps over several lines
};

/// One category of entries.
struct EntryFormat {
  std::string_view category;  ///< the text between the brackets
  EntryShape shape;
  std::string_view meaning;  ///< one sentence
  std::string_view written;  ///< when: "snapshot, level, change"
  std::string_view reveals;  ///< what it can reveal about the device's owner; empty if nothing
  /// In the order of the log. If a category's entries differ, all their fields are listed. Any may
  /// be missing.
  std::span<const FieldFormat> fields = {};
};

/// Every category that Zorva writes, in alphabetical order. The one source for the manual
/// (zorva-log(5)), for reading logs and for redacting them.
std::span<const EntryFormat> logFormat();

/// The category's format; null if Zorva does not write such entries.
const EntryFormat* entryFormat(std::string_view category);

}  // namespace zorva
