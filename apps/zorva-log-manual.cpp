// SPDX-License-Identifier: Apache-2.0
// Generates the manual page of the log while Zorva is built.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "apps/CommandLine.h"
#include "platform/base/Text.h"
#include "report/read/LogReader.h"

namespace zorva {
namespace {

constexpr const char* kProgram = "zorva-log-manual";

constexpr const char* kHelp =
    "Usage: zorva-log-manual LOG... > zorva-log.5\n"
    "Writes the manual page zorva-log(5) from the tables of the log's format, with a real line of "
    "the\n"
    "logs for each category.\n"
    "\n"
    "  -h, --help  print this text and exit\n"
    "  --version   print the version and exit\n"
    "\n"
    "Exit status: 0 written; 1 a log cannot be read, or a category has no entry in any of them; 2 "
    "bad\n"
    "usage.\n";

constexpr std::size_t kWidth = 64;  // columns of an example, with the page's margin within 80

constexpr std::string_view kHead =
    R"(.\" Made by zorva-log-manual from report/format/LogFormat_*.cpp.
.TH ZORVA\-LOG 5 2026-11-25 "Zorva" "Zorva's Manual"
.nr HY 0
.ad l
.SH NAME
zorva\-log \- the log that zorva writes
.SH DESCRIPTION
.BR zorva (1)
records in one text file everything that bears on the battery of a handset or laptop.
The log is meant to be read by people: follow it with
.BR tail (1),
search it with
.BR grep (1).
.PP
This page describes the parts of a line and when lines are written.
Then it lists, category by category, what each field means, where it comes from on
Linux, and what the category can reveal about you to a person who gets the log.
.BR zorva\-redact (1)
rewrites a log so that it can be shared.
.SH THE FILE
A daemon writes
.IR /Library/Logs/Faultbox/Zorva_DATE\-TIME_DEVICE.zorva ,
with the date and time at which the file was started
.RI ( YYYY\-MM\-DD\-HHMMSS )
and the name of the device.
If that name is taken, \(dq\-1\(dq to \(dq\-9\(dq follows the time.
If there is a user
.IR mobile ,
the file belongs to that user.
All users can read it, unless the daemon's umask forbids that, as in the package's service.
Without
.B \-d
the log goes to standard output.
.PP
The first line of a file is
.PP
.RS
.EX
Zorva Version: 5
.EE
.RE
.PP
where 5 is the version of the format; a log on standard output has no such line.
A snapshot follows: one or more entries of nearly every category.
After that, an entry is written for each event.
.PP
The file may be moved or removed at any time: a new one is started at once, with a
fresh snapshot.
Files read one after the other, in the order in which they were started, are one log.
Their names sort in this order, with three exceptions: a name with \(dq\-1\(dq to
\(dq\-9\(dq sorts before the one without; in the last days of December a name can
already have the next year; and after the clock was set back a name is earlier.
.BR zorva\-report (1)
sorts files by their first entries.
.SH ANATOMY OF A LINE
Each line is an entry:
.PP
.RS
.EX
\fIDATE TIME\fR [\fICATEGORY\fR] \fIKEY\fR=\fIVALUE\fR; \fIKEY\fR=\fIVALUE\fR;
.EE
.RE
.TP
.I DATE
Month, day and year in two digits each, in local time.
The year is that of the week: the last days of December can already have the
next year.
.TP
.I TIME
Hours, minutes and seconds, in local time.
It goes back, or leaps ahead, when the clock is set or the device enters another
time zone; a Locale entry then reports it.
.TP
.I CATEGORY
The subject of the entry.
It can contain blanks.
.TP
.IR KEY = VALUE ;
A field.
Fields are written in the order in which they are listed below.
If there is a unit, it directly follows the value.
Names and texts can contain blanks, \(dq=\(dq and \(dq;\(dq.
.PP
Two values can occur in most fields:
.TP
.B <unknown>
The value has not been reported, or is not available on this device.
.TP
.B (null)
There is no such value.
.PP
Text from outside (names of programs, networks and so on) stays on its line:
control characters are shown as
.BR \ex \c
.I NN
with two hexadecimal digits, so that
.B \ex0a
is a line end.
Bytes that are not valid UTF\-8 are shown as the replacement character.
.PP
Syslog and Zorva entries contain a text instead of fields.
A Zorva entry can have several lines: its first line then ends with \(dq{\(dq or
\(dq(\(dq directly after the bracket, and its last line is \(dq}\(dq or \(dq)\(dq.
Blank lines separate Syslog entries from the others.
.SH WHEN ENTRIES ARE WRITTEN
.TP
.B In a snapshot
When logging starts: at the start of the program, and at the head of each new file.
.TP
.B With the level
When the whole-percent battery level has changed, or has stayed unchanged for half
an hour; the entries follow the Battery entry with the level.
The half hour is set by the preference
.BR ZVSecondsBeforeSignificantTimeTriggered ,
see
.BR zorva (1).
.TP
.B When something changes
At once.
.PP
Zorva does not poll: a change without an event is logged in the next snapshot, or
with the next level.
.SH CATEGORIES
The example lines are real ones, from a simulated handset; long lines are continued
with an indent.
.PP
The fields are shown as
.BI key= VALUE
with the unit.
The value is
.I N
(a whole number),
.I N.N
(a number with a fraction),
.I HEX
(a hexadecimal number),
.I H:MM:SS
(hours, minutes and seconds),
.I DATE
(year, month, day, time and distance from universal time),
.I WORD
(one of the words listed) or
.I TEXT
(any text; the words listed have a meaning of their own).
If the key is
.IR NAME ,
the device supplies it.
.PP
\(dqLinux:\(dq gives the source of the value on a Linux machine, and what is logged
without that source.
At the head of a category it applies to all fields without a \(dqLinux:\(dq of their own.
)";

constexpr std::string_view kTail = R"(.SH FILES
.TP
.I /Library/Logs/Faultbox/Zorva_DATE_DEVICE.zorva
The logs.
.TP
.I /var/mobile/Library/Preferences/com.vennor.zorva.plist
The preferences.
.SH SEE ALSO
.BR zorva (1),
.BR zorva\-notify (1),
.BR zorva\-redact (1),
.BR zorva\-report (1),
.BR zorva\-sim (1)
)";

// The text, escaped so that roff prints it unchanged.
std::string escaped(std::string_view text) {
  std::string out;
  bool lineStart = true;
  while (!text.empty()) {
    const auto [code, bytes] = firstCharacter(text);
    text.remove_prefix(bytes.size());
    if (lineStart && (code == '.' || code == '\'')) out += "\\&";
    lineStart = code == '\n';
    if (code >= 0x80) {
      out += formatText("\\[u%04X]", static_cast<unsigned>(code));
      continue;
    }
    switch (code) {
      case '\\':
        out += "\\e";
        break;
      case '-':
        out += "\\-";
        break;
      case '\'':
        out += "\\(aq";
        break;
      case '"':
        out += "\\(dq";
        break;
      case '`':
        out += "\\(ga";
        break;
      case '^':
        out += "\\(ha";
        break;
      case '~':
        out += "\\(ti";
        break;
      default:
        out += bytes;
    }
  }
  return out;
}

// The line, broken at blanks; all lines but the first are indented.
std::string folded(std::string_view line) {
  std::string out;
  std::size_t column = 0;
  while (!line.empty()) {
    const std::size_t end = line.find(' ', 1);
    const std::string_view word = line.substr(0, end);
    if (column > 0 && column + word.size() > kWidth) {
      out += "\n   ";
      column = 3;
    }
    out += word;
    column += word.size();
    line.remove_prefix(word.size());
  }
  return out;
}

std::string_view typeName(FieldType type) {
  switch (type) {
    case FieldType::Word:
      return "WORD";
    case FieldType::Text:
      return "TEXT";
    case FieldType::Integer:
      return "N";
    case FieldType::Hex:
      return "HEX";
    case FieldType::Real:
      return "N.N";
    case FieldType::Duration:
      return "H:MM:SS";
    case FieldType::DateTime:
      return "DATE";
  }
  return "";
}

// True if the text that follows must start a new paragraph.
bool writeWords(std::span<const WordFormat> words) {
  const char* separator = "Words: ";
  for (const WordFormat& word : words) {
    if (!word.meaning.empty()) continue;
    std::cout << separator << "\\fB" << escaped(word.word) << "\\fR";
    separator = ", ";
  }
  if (separator == std::string_view(", ")) std::cout << ".\n";
  bool list = false;
  for (const WordFormat& word : words) {
    if (word.meaning.empty()) continue;
    if (!std::exchange(list, true)) std::cout << ".RS\n.PD 0\n";
    std::cout << ".TP\n\\fB" << escaped(word.word) << "\\fR\n" << escaped(word.meaning) << ".\n";
  }
  if (list) std::cout << ".PD\n.RE\n";
  return list;
}

void writeField(const FieldFormat& field, std::string_view usual) {
  std::cout << ".TP\n";
  if (field.key == "*") {
    std::cout << "\\fINAME\\fR";
  } else {
    std::cout << "\\fB" << escaped(field.key) << "\\fR";
  }
  std::cout << "=\\fI" << typeName(field.type) << "\\fR" << escaped(field.unit) << "\n"
            << escaped(field.meaning) << "\n";
  const bool list = writeWords(field.words);
  if (field.onLinux == usual) return;
  std::cout << (list ? ".IP" : ".br") << "\nLinux: " << escaped(field.onLinux) << "\n";
}

// The Linux source that most of the fields share, or an empty text.
std::string_view usualOnLinux(const EntryFormat& format) {
  for (const FieldFormat& field : format.fields) {
    const auto same =
        std::count_if(format.fields.begin(), format.fields.end(),
                      [&](const FieldFormat& each) { return each.onLinux == field.onLinux; });
    if (same > 1 && 2 * static_cast<std::size_t>(same) > format.fields.size()) return field.onLinux;
  }
  return "";
}

struct Example {
  int worth = -1;
  std::string text;
};

struct Examples {
  Example line;   // an entry of one line
  Example lines;  // one of several
};

void writeEntry(const EntryFormat& format, const Examples& examples) {
  std::cout << ".SS \"" << escaped(format.category) << "\"\n" << escaped(format.meaning) << "\n";
  for (const Example* example : {&examples.line, &examples.lines}) {
    if (example->text.empty()) continue;
    std::cout << ".PP\n.EX\n" << escaped(example->text) << "\n.EE\n";
  }
  std::cout << ".PP\nWritten: " << escaped(format.written) << "\n";
  const std::string_view usual = usualOnLinux(format);
  if (!usual.empty()) std::cout << ".PP\nLinux: " << escaped(usual) << "\n";
  for (const FieldFormat& field : format.fields) writeField(field, usual);
  std::cout << ".PP\n\\fIReveals\\fR: "
            << (format.reveals.empty() ? "nothing." : escaped(format.reveals)) << "\n";
}

// For each category, the entry with the most values; of several, the first.
bool readExamples(const char* path, std::map<std::string, Examples>& examples) {
  std::ifstream file(path);
  LogReader reader;
  reader.begin(readFrom(file));
  LogRecord record;
  std::vector<LogField> fields;
  while (reader.next(record)) {
    if (record.piece != LogPiece::Entry) continue;
    splitFields(record, fields);
    int worth = 0;
    for (const LogField& field : fields) {
      if (!field.value.starts_with('<') && field.value != "(null)") ++worth;
    }
    Examples& both = examples[std::string(record.category)];
    Example& best = record.lines > 1 ? both.lines : both.line;
    if (worth <= best.worth) continue;
    std::string_view text = record.raw;
    if (text.ends_with('\n')) text.remove_suffix(1);
    best = {worth, record.lines > 1 ? std::string(text) : folded(text)};
  }
  if (!file.eof()) std::cerr << "zorva-log-manual: cannot read " << path << "\n";
  return file.eof();
}

}  // namespace
}  // namespace zorva

int main(int argc, char* argv[]) {
  std::vector<std::string> logs;
  const zorva::CommandLine line{zorva::kProgram, zorva::kHelp};
  if (const auto end =
          zorva::readCommandLine(line, {argv + (argc > 0 ? 1 : 0), argv + argc}, logs)) {
    return end->write();
  }
  std::map<std::string, zorva::Examples> examples;
  for (const std::string& log : logs) {
    if (!zorva::readExamples(log.c_str(), examples)) return EXIT_FAILURE;
  }
  std::cout << zorva::kHead;
  for (const zorva::EntryFormat& format : zorva::logFormat()) {
    const auto found = examples.find(std::string(format.category));
    if (found == examples.end()) {
      std::cerr << "zorva-log-manual: no log has an entry [" << format.category << "]\n";
      return EXIT_FAILURE;
    }
    zorva::writeEntry(format, found->second);
  }
  std::cout << zorva::kTail << std::flush;
  return std::cout ? EXIT_SUCCESS : EXIT_FAILURE;
}
