// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "core/LogStream.h"
#include "platform/base/Text.h"
#include "report/read/LogReader.h"
#include "tests/fuzz/Require.h"

namespace zorva {

/// The bytes in a descriptor of a memory file, which is emptied.
inline std::string takeText(int file) {
  std::string text(static_cast<std::size_t>(::lseek(file, 0, SEEK_END)), '\0');
  REQUIRE(::pread(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
  REQUIRE(::ftruncate(file, 0) == 0 && ::lseek(file, 0, SEEK_SET) == 0);
  return text;
}

/// Ends the program unless a log is whole lines that can be shown, of entries that the manual
/// lists. Returns the number of entries.
inline std::size_t checkLog(const std::string& text) {
  static LogReader reader;  // its buffer costs more than most logs
  const std::uint64_t before = reader.counts().entries;
  reader.begin(readFrom(text));
  for (LogRecord record; reader.next(record);) {
    REQUIRE(record.piece != LogPiece::Damaged);
    REQUIRE(record.piece != LogPiece::Entry || record.format != nullptr);
    for (std::string_view rest = record.raw; !rest.empty();) {
      const std::size_t end = rest.find('\n');
      REQUIRE(end != rest.npos && safeText(rest.substr(0, end)) == rest.substr(0, end));
      rest.remove_prefix(end + 1);
    }
  }
  return reader.counts().entries - before;
}

}  // namespace zorva
