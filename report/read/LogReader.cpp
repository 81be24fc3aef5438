// SPDX-License-Identifier: Apache-2.0
#include "report/read/LogReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <istream>
#include <utility>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::size_t kBuffer = 256 << 10;
constexpr std::size_t kMaxCategoryLength = 40;
constexpr std::size_t kDateLength = sizeof "11/16/26 22:05:00" - 1;
constexpr std::string_view kVersionLine = "Zorva Version: ";
constexpr std::string_view kDumpMargin = "    ";
constexpr std::string_view kLocaleCategory = "Locale";
constexpr std::string_view kLocaleHead = "[Locale] id=";
constexpr std::string_view kLocaleKey = " id=";

std::string_view withoutLineEnd(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

bool isVersionLine(std::string_view line) {
  if (!line.starts_with(kVersionLine)) return false;
  const std::string_view number = line.substr(kVersionLine.size());
  return !number.empty() && std::all_of(number.begin(), number.end(), isDigit);
}

bool isCategory(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || isDigit(byte) ||
           byte == ' ';
  });
}

// Whether another entry's head is joined to the rest of this one.
bool holdsHead(std::string_view body) {
  for (std::size_t at = body.find('['); at != body.npos; at = body.find('[', at + 1)) {
    if (at <= kDateLength || body[at - 1] != ' ') continue;
    const std::string_view date = body.substr(at - 1 - kDateLength, kDateLength);
    if (date[2] == '/' && date[5] == '/' && date[11] == ':' && isDigit(date[16])) return true;
  }
  return false;
}

bool isWhole(std::string_view body, const EntryFormat* format) {
  if (format == nullptr || format->shape != EntryShape::Fields || body.empty()) return true;
  return body.front() == ' ' && body.back() == ';' && !holdsHead(body);
}

}  // namespace

LogReader::LogReader(std::span<const EntryFormat> format) : buffer_(kBuffer) {
  for (const EntryFormat& entry : format) formats_.emplace(entry.category, &entry);
}

void LogReader::begin(Read read) {
  read_ = std::move(read);
  start_ = end_ = 0;
  ended_ = inLongLine_ = begun_ = false;
  error_ = 0;
  line_ = 1;
}

// Reads more bytes after the buffered ones. May move them; offsets from start_ stay valid.
bool LogReader::fill() {
  if (ended_) return false;
  if (end_ == buffer_.size()) {
    if (start_ > 0) {
      std::memmove(buffer_.data(), buffer_.data() + start_, end_ - start_);
      end_ -= start_;
      start_ = 0;
    } else if (buffer_.size() < kMaxPieceLength) {
      buffer_.resize(std::min(2 * buffer_.size(), kMaxPieceLength));
    } else {
      return false;
    }
  }
  const std::ptrdiff_t count = read_(buffer_.data() + end_, buffer_.size() - end_);
  if (count <= 0) {
    if (count < 0) error_ = errno;
    ended_ = true;
    return false;
  }
  end_ += static_cast<std::size_t>(count);
  if (!std::exchange(begun_, true)) findLocale();
  return true;
}

// The locale decides how dates are read, but its entry is the last of a log's first snapshot: it is
// taken from the bytes that were read first.
void LogReader::findLocale() {
  const std::string_view held(buffer_.data() + start_, end_ - start_);
  const std::size_t at = held.find(kLocaleHead);
  if (at == held.npos) return;
  const std::string_view rest = held.substr(at + kLocaleHead.size() - kLocaleKey.size());
  readLocale(withoutLineEnd(rest.substr(0, std::min(rest.find('\n'), rest.size()))));
}

// Whether dates may read differently from now on.
bool LogReader::readLocale(std::string_view body) {
  if (!body.starts_with(kLocaleKey)) return false;
  const std::string_view id = body.substr(kLocaleKey.size(), body.find(';') - kLocaleKey.size());
  constexpr std::string_view kCountry = "; country=";
  const std::size_t at = body.find(kCountry);
  if (at == body.npos) return false;
  const std::string_view rest = body.substr(at + kCountry.size());
  return clock_.setLocale(id, rest.substr(0, rest.find(';')));
}

// The offset from start_ after the line that begins at this one. If the line has no end, the end of
// the bytes.
std::size_t LogReader::lineEnd(std::size_t from) {
  for (std::size_t searched = from;;) {
    const char* begin = buffer_.data() + start_;
    const std::size_t held = end_ - start_;
    if (const void* found = std::memchr(begin + searched, '\n', held - searched)) {
      return static_cast<std::size_t>(static_cast<const char*>(found) - begin) + 1;
    }
    searched = held;
    if (!fill()) return searched;
  }
}

bool LogReader::next(LogRecord& record) {
  const std::size_t length = lineEnd(0);
  if (length == 0) return false;
  record = {};
  record.line = line_;
  record.lines = inLongLine_ ? 0 : 1;
  record.raw = {buffer_.data() + start_, length};
  const bool cut = record.raw.back() != '\n' && !ended_;
  if (!inLongLine_ && !cut) readLine(record, withoutLineEnd(record.raw));
  // Reading a dump may have moved the bytes.
  const std::size_t taken = record.raw.size();
  const bool ends = record.raw.back() == '\n';
  line_ += record.lines > 1 ? record.lines - (ends ? 0 : 1) : (ends ? 1 : 0);
  inLongLine_ = !ends;
  start_ += taken;
  counts_.bytes += taken;
  counts_.lines += record.lines;
  if (record.piece == LogPiece::Entry) {
    ++counts_.entries;
    countTime(record);
  }
  if (record.piece == LogPiece::Damaged) ++counts_.damaged;
  return true;
}

void LogReader::readLine(LogRecord& record, std::string_view line) {
  if (line.empty()) {
    record.piece = LogPiece::Separator;
  } else if (isVersionLine(line)) {
    record.piece = LogPiece::Version;
  } else {
    readEntry(record, line);
  }
}

void LogReader::readEntry(LogRecord& record, std::string_view line) {
  std::size_t dateLength = 0;
  const std::optional<LogTime> time = clock_.read(line, dateLength);
  if (!time || line.substr(dateLength, 2) != " [") return;
  const std::string_view rest = line.substr(dateLength + 2);
  const std::size_t categoryLength = rest.substr(0, kMaxCategoryLength + 1).find(']');
  if (categoryLength == rest.npos || !isCategory(rest.substr(0, categoryLength))) return;
  record.time = *time;
  record.date = line.substr(0, dateLength);
  record.category = rest.substr(0, categoryLength);
  record.body = rest.substr(categoryLength + 1);
  record.format = formatOf(record.category);
  if (record.body == "{" || record.body == "(") {
    readDump(record, record.raw.size());
  } else if (isWhole(record.body, record.format)) {
    record.piece = LogPiece::Entry;
    if (record.category == kLocaleCategory && readLocale(record.body)) {
      record.time = clock_.read(line, dateLength).value_or(*time);
    }
  }
}

// Takes the lines of a dump. It begins with a bracket and ends with a line that is the closing one.
// The lines between are indented. If the end is missing, the whole dump is damaged.
void LogReader::readDump(LogRecord& record, std::size_t end) {
  const char* const before = record.raw.data();
  const std::string_view close = record.body == "{" ? "}" : ")";
  std::size_t bodyEnd = end;
  while (record.piece == LogPiece::Damaged) {
    const std::size_t next = lineEnd(end);
    const std::string_view raw(buffer_.data() + start_ + end, next - end);
    const std::string_view line = withoutLineEnd(raw);
    if (line != close && !line.starts_with(kDumpMargin)) break;
    if (line == close) record.piece = LogPiece::Entry;
    bodyEnd = end + line.size();
    end = next;
    ++record.lines;
    // Cut by the end of the file, or by the longest piece that can be held.
    if (!raw.ends_with('\n')) break;
  }
  // Reading may have moved the bytes.
  const char* const now = buffer_.data() + start_;
  const auto moved = [&](std::string_view text) {
    return std::string_view(now + (text.data() - before), text.size());
  };
  record.date = moved(record.date);
  record.category = moved(record.category);
  record.body = moved(record.body);
  record.body = {record.body.data(), static_cast<std::size_t>(now + bodyEnd - record.body.data())};
  record.raw = {now, end};
}

void LogReader::countTime(LogRecord& record) {
  if (!record.isTimed()) return;
  if (previous_ && record.time < *previous_) {
    record.backwards = *previous_ - record.time;
    ++counts_.backwards;
  }
  previous_ = record.time;
}

const EntryFormat* LogReader::formatOf(std::string_view category) {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(category[at]); };
  const std::size_t place = category.size() + byte(0) * 5UL + byte(category.size() - 1) * 3UL;
  const EntryFormat*& recent = recent_[place % recent_.size()];
  if (recent != nullptr && recent->category == category) return recent;
  const auto found = formats_.find(category);
  if (found == formats_.end()) return nullptr;
  return recent = found->second;
}

LogReader::Read readFrom(std::string_view text, std::size_t most) {
  return [=](char* to, std::size_t room) mutable {
    const std::size_t count = std::min({room, most, text.size()});
    std::memcpy(to, text.data(), count);
    text.remove_prefix(count);
    return static_cast<std::ptrdiff_t>(count);
  };
}

LogReader::Read readFrom(std::istream& stream) {
  return [&stream](char* to, std::size_t room) {
    stream.read(to, static_cast<std::streamsize>(room));
    return static_cast<std::ptrdiff_t>(stream.gcount());
  };
}

}  // namespace zorva
