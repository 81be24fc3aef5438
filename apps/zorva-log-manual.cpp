// Writes the manual page zorva-log(5) from the tables of the log's format, with a real line for
// each category. Runs while Zorva is built:
//
//     zorva-log-manual LOG... > zorva-log.5
//
// Status 1 when a log cannot be read, or when a category has no entry in any of them.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "report/LogReader.h"

namespace zorva {
namespace {

constexpr std::size_t kWidth = 64;  // columns of an example, with the page's margin within 80

constexpr std::string_view kHead = R"(.\" Made by zorva-log-manual from report/LogFormat_*.cpp.
.TH ZORVA\-LOG 5 2026\-11\-25 "Zorva" "Zorva's Manual"
.SH NAME
zorva\-log \- the log that zorva writes
.SH DESCRIPTION
.BR zorva (1)
records in one text file all that bears on the battery of a handset or laptop.
Each line is an entry.
It is meant to be read by people: follow it with
.BR tail (1),
search it with
.BR grep (1).
.PP
This page tells what a line is made of, when lines are written, and then, category by category, what
each field means, where it comes from on Linux, and what the category can reveal to somebody who gets
the log.
.SH THE FILE
A daemon writes
.IR /Library/Logs/Faultbox/Zorva_DATE_DEVICE.zorva ,
with the date and time of its beginning and the name of the device.
When the name is taken, \(dq\-1\(dq to \(dq\-9\(dq stands behind the time.
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
The file may be moved or removed at any time: a new one is begun at once, with a fresh snapshot.
To put files together, read them in the order of their names.
.SH ANATOMY OF A LINE
.EX
DATE TIME [CATEGORY] KEY=VALUE; KEY=VALUE;
.EE
.TP
.I DATE
Month, day and year in two digits each, in local time.
The year is that of the week, whose first day and whose minimum in the new year are those of the locale:
the last days of December can already carry the next year, and the first days of January the last.
.TP
.I TIME
Hours, minutes and seconds, in local time.
When the clock was set, or the device is in another time zone, time goes back or leaps ahead; the Locale entry
next to it tells.
.TP
.I CATEGORY
What the entry is about.
It stands in brackets, and can have blanks.
.TP
.IR KEY = VALUE ;
The fields come in the order in which they are told here.
A unit stands right behind the value, if there is one.
A value can hold blanks, and even \(dq=\(dq and \(dq;\(dq where it is a name or a text.
.PP
Values that stand for something else:
.TP
.B <unknown>
Nobody has told the value, or it cannot be told on this device.
.TP
.B (null)
There is no such value.
.PP
Text from elsewhere (names of programs, networks and so on) is shown so that it stays on its line:
control characters as
.BR \ex \c
.I NN
with two hexadecimal digits, as in
.B \ex0a
for a line end, and bytes that are not UTF\-8 as the replacement character.
.PP
Entries of some categories are no fields but a text.
One kind has more than a line: it ends its first line with \(dq{\(dq or \(dq(\(dq right behind the bracket,
and its last line is \(dq}\(dq or \(dq)\(dq.
Blank lines stand around the entries of the system log.
.SH WHEN ENTRIES ARE WRITTEN
.TP
.B snapshot
When logging begins: at the start, and at the head of each new file.
.TP
.B level
When the whole percent of the battery's level has changed, or has not for half an hour.
That time is set by the preference
.BR ZVSecondsBeforeSignificantTimeTriggered ,
see
.BR zorva (1).
It comes with a Battery entry.
.TP
.B change, event
When the thing that the entry is about has changed or happened.
.PP
Zorva does not look again and again: what no event tells is told at the next snapshot or level.
.SH CATEGORIES
The lines are real ones, of a simulated handset.
Where they are too long for this page they are broken, and go on with an indent; in the log each is one line.
.PP
Behind \(dqLinux:\(dq stands where a value comes from on a Linux machine, and what stands there without that source.
.I Reveals
is about the owner of the device: whoever gets the log gets that.
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
.BR zorva\-sim (1)
)";

// Text as roff takes it for just that.
std::string escaped(std::string_view text) {
  std::string out;
  bool lineStart = true;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (lineStart && (byte == '.' || byte == '\'')) out += "\\&";
    lineStart = byte == '\n';
    if (byte >= 0xC0) {  // a character of UTF-8
      const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
      unsigned code = byte & (0xFFU >> (length + 1));
      for (std::size_t k = 1; k < length && i + 1 < text.size(); ++k) {
        code = code << 6 | (static_cast<unsigned char>(text[++i]) & 0x3FU);
      }
      char name[16];
      std::snprintf(name, sizeof name, "\\[u%04X]", code);
      out += name;
      continue;
    }
    switch (byte) {
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
        out += static_cast<char>(byte);
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
    case FieldType::kWord:
      return "word";
    case FieldType::kText:
      return "text";
    case FieldType::kInteger:
      return "integer";
    case FieldType::kHex:
      return "hexadecimal";
    case FieldType::kReal:
      return "number";
    case FieldType::kDuration:
      return "hours:minutes:seconds";
    case FieldType::kDate:
      return "date";
  }
  return "";
}

void writeWords(std::span<const WordFormat> words) {
  if (words.empty()) return;
  bool told = false;
  for (const WordFormat& word : words) told = told || !word.meaning.empty();
  if (!told) {
    std::cout << "Words:";
    const char* separator = " ";
    for (const WordFormat& word : words) {
      std::cout << separator << "\\fB" << escaped(word.word) << "\\fR";
      separator = ", ";
    }
    std::cout << ".\n";
    return;
  }
  std::cout << ".RS\n.PD 0\n";
  for (const WordFormat& word : words) {
    std::cout << ".TP\n\\fB" << escaped(word.word) << "\\fR\n"
              << (word.meaning.empty() ? "As it says." : escaped(word.meaning) + ".") << "\n";
  }
  std::cout << ".PD\n.RE\n.IP\n";
}

void writeField(const FieldFormat& field, std::string_view linuxBefore) {
  std::cout << ".TP\n";
  if (field.key == "*") {
    std::cout << "\\fIkey\\fR";
  } else {
    std::cout << "\\fB" << escaped(field.key) << "\\fR";
  }
  std::cout << "=\\fI" << typeName(field.type) << "\\fR" << escaped(field.unit) << "\n"
            << escaped(field.meaning) << "\n";
  writeWords(field.words);
  std::cout << ".br\nLinux: "
            << (field.onLinux == linuxBefore ? "as above." : escaped(field.onLinux)) << "\n";
}

void writeEntry(const EntryFormat& format, const std::string& example) {
  std::cout << ".SS \"" << escaped(format.category) << "\"\n" << escaped(format.meaning) << "\n";
  std::cout << ".PP\n.EX\n" << escaped(example) << "\n.EE\n";
  std::cout << ".PP\nWritten: " << escaped(format.written) << "\n";
  std::string_view linuxBefore;
  for (const FieldFormat& field : format.fields) {
    writeField(field, linuxBefore);
    linuxBefore = field.onLinux;
  }
  std::cout << ".PP\n\\fIReveals\\fR: "
            << (format.reveals.empty() ? "nothing." : escaped(format.reveals)) << "\n";
}

struct Example {
  int worth = -1;
  std::string text;
};

// For each category the entry that shows the most values, the first of them.
bool readExamples(const char* path, std::map<std::string, Example>& examples) {
  std::ifstream file(path);
  LogReader reader;
  reader.begin([&](char* to, std::size_t most) {
    file.read(to, static_cast<std::streamsize>(most));
    return static_cast<std::ptrdiff_t>(file.gcount());
  });
  LogRecord record;
  std::vector<LogField> fields;
  while (reader.next(record)) {
    if (record.piece != LogPiece::kEntry) continue;
    splitFields(record, fields);
    int worth = 0;
    for (const LogField& field : fields) {
      if (!field.value.starts_with('<') && field.value != "(null)") ++worth;
    }
    Example& best = examples[std::string(record.category)];
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
  std::map<std::string, zorva::Example> examples;
  for (int i = 1; i < argc; ++i) {
    if (!zorva::readExamples(argv[i], examples)) return EXIT_FAILURE;
  }
  std::cout << zorva::kHead;
  for (const zorva::EntryFormat& format : zorva::logFormat()) {
    const auto found = examples.find(std::string(format.category));
    if (found == examples.end()) {
      std::cerr << "zorva-log-manual: no log has an entry [" << format.category << "]\n";
      return EXIT_FAILURE;
    }
    zorva::writeEntry(format, found->second.text);
  }
  std::cout << zorva::kTail << std::flush;
  return std::cout ? EXIT_SUCCESS : EXIT_FAILURE;
}
