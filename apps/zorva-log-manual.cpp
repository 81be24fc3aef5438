// Makes the manual page of the log while Zorva is built.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/CommandLine.h"
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

constexpr std::string_view kHead = R"(.\" Made by zorva-log-manual from report/LogFormat_*.cpp.
.TH ZORVA\-LOG 5 2026-11-25 "Zorva" "Zorva's Manual"
.nr HY 0
.ad l
.SH NAME
zorva\-log \- the log that zorva writes
.SH DESCRIPTION
.BR zorva (1)
records in one text file all that bears on the battery of a handset or laptop.
It is meant to be read by people: follow it with
.BR tail (1),
search it with
.BR grep (1).
.PP
This page tells what a line is made of and when lines are written, and then,
category by category, what each field means, where it comes from on Linux, and
what the category can reveal about you to somebody to whom you give the log.
.BR zorva\-redact (1)
makes a log fit for that.
.SH THE FILE
A daemon writes
.IR /Library/Logs/Faultbox/Zorva_DATE\-TIME_DEVICE.zorva ,
with the date and time of its beginning
.RI ( YYYY\-MM\-DD\-HHMMSS )
and the name of the device.
When that name is taken, \(dq\-1\(dq to \(dq\-9\(dq stands behind the time.
The file belongs to the user
.IR mobile ,
where there is one, and everybody can read it.
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
Then comes a snapshot: one entry or more of nearly every category.
From then on an entry is written when something happens.
.PP
The file may be moved or removed at any time: a new one is begun at once, with a
fresh snapshot.
Files read one behind the other, in the order in which they were begun, are one log.
Their names sort in this order, but for these: a name with \(dq\-1\(dq to
\(dq\-9\(dq sorts before the one without; in the last days of December a name can
already carry the next year; and a clock that is set back gives an earlier name.
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
The year is that of the week: the last days of December can already carry the
next year.
.TP
.I TIME
Hours, minutes and seconds, in local time.
It goes back, or leaps ahead, when the clock is set or the device comes into
another time zone; a Locale entry then tells so.
.TP
.I CATEGORY
What the entry is about.
It can have blanks.
.TP
.IR KEY = VALUE ;
A field.
Fields come in the order in which they are told below.
A unit stands right behind the value, if there is one.
Names and texts can themselves hold blanks, \(dq=\(dq and \(dq;\(dq.
.PP
Two values can stand in most places:
.TP
.B <unknown>
Nobody has told the value, or it cannot be told on this device.
.TP
.B (null)
There is no such value.
.PP
Text from elsewhere (names of programs, networks and so on) stays on its line:
control characters are shown as
.BR \ex \c
.I NN
with two hexadecimal digits, so that
.B \ex0a
is a line end, and bytes that are not UTF\-8 as the replacement character.
.PP
The entries of Syslog and Zorva hold a text in place of fields.
An entry of Zorva can have several lines: then its first line ends with \(dq{\(dq or
\(dq(\(dq right behind the bracket, and its last line is \(dq}\(dq or \(dq)\(dq.
Blank lines stand around the entries of Syslog.
.SH WHEN ENTRIES ARE WRITTEN
.TP
.B In a snapshot
When logging begins: at the start, and at the head of each new file.
.TP
.B With the level
When the whole percent of the battery's level has changed, or has not for half
an hour, below the Battery entry that tells it.
The half hour can be changed by the preference
.BR ZVSecondsBeforeSignificantTimeTriggered ,
see
.BR zorva (1).
.TP
.B When something changes
At once.
.PP
Zorva does not look again and again: what no event tells shows in the next
snapshot, or with the next level.
.SH CATEGORIES
The lines shown are real ones, of a simulated handset; those that are too long
for a page go on below with an indent.
.PP
The fields are shown as
.BI key= VALUE
with the unit, where the value is
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
(one of the words told) or
.I TEXT
(any text; the words told are those with a meaning of their own).
.I NAME
as the key means that the device gives it.
.PP
\(dqLinux:\(dq tells where the value comes from on a Linux machine, and what stands
there without that source.
At the head of a category it holds for all fields that tell nothing else.
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

// Text as roff takes it for just that.
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

// A line broken at blanks, all but its first piece with an indent.
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

// True when what follows has to begin a new paragraph.
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

// What holds for most of the fields on Linux, or an empty text.
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

// For each category the entry that shows the most values, the first of them.
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
