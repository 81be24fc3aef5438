// SPDX-License-Identifier: Apache-2.0
// A log may be damaged in any way, and strangers chose the names in it. For any bytes, the reader
// returns all of them, and the fields are the entry, however much is read at a time. A redacted log
// has the same lines, and can be read and redacted again as the same kinds of lines.
//
// An input is a byte for how much is read at a time, and the log.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "report/read/LogReader.h"
#include "report/redact/Redaction.h"
#include "tests/fuzz/Require.h"

namespace zorva {
namespace {

struct Reading {
  std::string redacted;
  std::string categories;  // of the entries; "-" for other pieces
};

Reading readAll(std::string_view text, std::size_t most) {
  static LogReader reader;  // one for all inputs: its buffer costs more than most of them
  const std::uint64_t before = reader.counts().bytes;
  reader.begin(readFrom(text, most));
  Reading reading;
  Redaction redaction;
  LogRecord record;
  std::vector<LogField> fields;
  std::size_t at = 0;
  std::uint64_t lines = 1;
  while (reader.next(record)) {
    REQUIRE(!record.raw.empty() && record.raw == text.substr(at, record.raw.size()));
    REQUIRE(record.line == lines && record.lines > 0);
    at += record.raw.size();
    lines += static_cast<std::uint64_t>(std::count(record.raw.begin(), record.raw.end(), '\n'));
    redaction.append(record, reading.redacted);
    reading.categories += record.piece == LogPiece::Entry ? std::string(record.category) : "-";
    if (record.piece != LogPiece::Entry) continue;
    splitFields(record, fields);
    std::string body;
    for (const LogField& field : fields) {
      body += field.raw;
      REQUIRE(field.raw.find(field.value) != field.raw.npos);
      const bool number = field.integer() || field.real() || field.seconds();
      REQUIRE(!number || !field.value.empty());
    }
    REQUIRE(body == record.body);
  }
  redaction.finish(reading.redacted);
  REQUIRE(std::count(reading.redacted.begin(), reading.redacted.end(), '\n') + 1 ==
          static_cast<std::ptrdiff_t>(lines));
  REQUIRE(at == text.size() && reader.error() == 0);
  REQUIRE(reader.counts().bytes - before == text.size());
  return reading;
}

}  // namespace
}  // namespace zorva

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(data + 1, data + size);
  const zorva::Reading whole = zorva::readAll(text, text.size() + 1);
  const zorva::Reading pieces = zorva::readAll(text, data[0] + std::size_t{1});
  REQUIRE(whole.redacted == pieces.redacted && whole.categories == pieces.categories);
  const zorva::Reading again = zorva::readAll(whole.redacted, text.size() + 1);
  // A damaged dump's lines are replaced one by one.
  std::string known = whole.categories;
  std::string still = again.categories;
  for (std::string* kinds : {&known, &still}) std::erase(*kinds, '-');
  REQUIRE(known == still);
  return 0;
}
