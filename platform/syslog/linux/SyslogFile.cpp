// SPDX-License-Identifier: Apache-2.0
#include "platform/syslog/linux/SyslogFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::size_t kChunk = 16384;   // bytes of one read
constexpr std::size_t kMaxLine = 8192;  // bytes; the rest of a longer line is dropped
constexpr std::int64_t kDay = 86400;    // seconds
constexpr std::string_view kLevels[] = {"emerg",   "alert",  "crit", "err",   "error",
                                        "warning", "notice", "info", "debug", "warn"};

std::string_view takeWord(std::string_view& text) {
  const std::size_t end = std::min(text.find(' '), text.size());
  const std::string_view word = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return word;
}

// "2026-11-26T12:02:05.123456+01:00", the fraction, the zone or its colon may be missing.
std::optional<std::int64_t> takeIsoTime(std::string_view& line) {
  std::string_view rest = line;
  const std::string word(takeWord(rest));
  tm time{};
  int used = 0;
  if (std::sscanf(word.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%n", &time.tm_year, &time.tm_mon,
                  &time.tm_mday, &time.tm_hour, &time.tm_min, &time.tm_sec, &used) != 6) {
    return std::nullopt;
  }
  time.tm_year -= 1900;
  time.tm_mon -= 1;
  time.tm_isdst = -1;
  std::string_view zone = std::string_view(word).substr(static_cast<std::size_t>(used));
  if (zone.starts_with('.')) {
    zone.remove_prefix(std::min(zone.find_first_not_of("0123456789", 1), zone.size()));
  }
  line = rest;
  if (zone.empty()) return std::mktime(&time);
  int hours = 0;
  int minutes = 0;
  char sign = '+';
  if (zone != "Z" &&
      std::sscanf(std::string(zone).c_str(), zone.find(':') != zone.npos ? "%c%2d:%2d" : "%c%2d%2d",
                  &sign, &hours, &minutes) != 3) {
    return std::nullopt;
  }
  const std::int64_t east = (std::int64_t{hours} * 60 + minutes) * 60;
  return ::timegm(&time) - (sign == '-' ? -east : east);
}

// "Nov  6 12:02:05 ", in this machine's zone and without a year.
std::optional<std::int64_t> takeTime(std::string_view& line, std::int64_t now) {
  constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
  constexpr std::size_t kLength = 16;
  const std::size_t month = kMonths.find(line.substr(0, 3));
  tm time{};
  if (line.size() < kLength || month == kMonths.npos || month % 3 != 0 ||
      line[kLength - 1] != ' ' ||
      std::sscanf(std::string(line.substr(3, kLength - 3)).c_str(), " %2d %2d:%2d:%2d",
                  &time.tm_mday, &time.tm_hour, &time.tm_min, &time.tm_sec) != 4) {
    return std::nullopt;
  }
  line.remove_prefix(kLength);
  const std::time_t present = now;
  tm today{};
  if (::localtime_r(&present, &today) == nullptr) return std::nullopt;
  for (int year = today.tm_year + 1;; --year) {
    tm guess = time;
    guess.tm_year = year;
    guess.tm_mon = static_cast<int>(month / 3);
    guess.tm_isdst = -1;
    const std::int64_t then = std::mktime(&guess);
    if (then <= now + kDay || year < today.tm_year) return then;
  }
}

bool isLevel(std::string_view word) {
  const std::size_t dot = word.find('.');
  return dot != word.npos && std::ranges::find(kLevels, word.substr(dot + 1)) != std::end(kLevels);
}

// "TAG[PID]: TEXT" or "TAG: TEXT"; without a tag all of it is the text.
void readMessage(std::string_view rest, SystemLogRecord& record) {
  std::string_view text = rest;
  std::string_view tag = takeWord(text);
  if (tag.ends_with(':') && tag.size() > 1) {
    tag.remove_suffix(1);
    const std::size_t open = tag.rfind('[');
    if (tag.ends_with(']') && open != tag.npos && open > 0) {
      record.process = tag.substr(open + 1, tag.size() - open - 2);
      tag = tag.substr(0, open);
    } else if (tag == "kernel") {
      record.process = "0";
    }
    record.sender = tag;
  } else {
    text = rest;
  }
  record.text = cutToBytes(text, SystemLogRecord::kMaxTextBytes);
}

bool sameFile(const struct stat& left, const struct stat& right) {
  return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

}  // namespace

std::optional<SystemLogRecord> parseSyslogLine(std::string_view line, std::int64_t now) {
  auto time = takeIsoTime(line);
  if (!time) time = takeTime(line, now);
  if (!time) return std::nullopt;
  SystemLogRecord record;
  record.time = *time;
  // BusyBox leaves the host out if it is told to (-S).
  std::string_view rest = line;
  if (!takeWord(rest).ends_with(':')) line = rest;
  rest = line;
  if (isLevel(takeWord(rest))) line = rest;
  readMessage(line, record);
  return record;
}

bool SyslogFile::open() {
  if (file_) return true;
  for (const std::string& path : paths_) {
    if (!openAt(path)) continue;
    skipToEarlier();
    return true;
  }
  return false;
}

bool SyslogFile::openAt(const std::string& path) {
  Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status;
  if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  file_ = std::move(file);
  path_ = path;
  unread_.clear();
  at_ = 0;
  skipLine_ = false;
  return true;
}

// Drops what is before the last lines.
void SyslogFile::skipToEarlier() {
  skipLine_ = ::lseek(file_.get(), 0, SEEK_END) > kMaxFirstBytes;
  ::lseek(file_.get(), skipLine_ ? -kMaxFirstBytes : 0, skipLine_ ? SEEK_END : SEEK_SET);
  while (read()) {
  }
  std::size_t start = unread_.rfind('\n');
  for (std::uint64_t line = 0; line < earlier_ && start != unread_.npos; ++line) {
    start = start == 0 ? unread_.npos : unread_.rfind('\n', start - 1);
  }
  if (start == unread_.npos) return;
  at_ = start + 1;
  skipLine_ = false;
}

bool SyslogFile::read() {
  const std::size_t before = unread_.size();
  unread_.resize(before + kChunk);
  ssize_t length = 0;
  do {
    length = ::read(file_.get(), unread_.data() + before, kChunk);
  } while (length < 0 && errno == EINTR);
  unread_.resize(before + static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  return length > 0;
}

// Reads more of the file, or of the one that has taken its place. False at the end.
bool SyslogFile::fill() {
  unread_.erase(0, std::exchange(at_, 0));
  struct stat own {};
  struct stat there {};
  if (::fstat(file_.get(), &own) == 0 && own.st_size < ::lseek(file_.get(), 0, SEEK_CUR)) {
    ::lseek(file_.get(), 0, SEEK_SET);  // truncated
    unread_.clear();
    skipLine_ = false;
  }
  return read() ||
         (::stat(path_.c_str(), &there) == 0 && !sameFile(own, there) && openAt(path_) && read());
}

std::optional<SystemLogRecord> SyslogFile::next(std::int64_t now) {
  if (!file_) return std::nullopt;
  for (;;) {
    const std::size_t end = unread_.find('\n', at_);
    if (end == unread_.npos) {
      if (unread_.size() - at_ > kMaxLine && !skipLine_) {
        skipLine_ = true;
        auto record = parseSyslogLine(std::string_view(unread_).substr(at_, kMaxLine), now);
        at_ = unread_.size();
        if (record) return record;
      }
      if (skipLine_) at_ = unread_.size();
      if (!fill()) return std::nullopt;
      continue;
    }
    const std::string line = unread_.substr(at_, std::min(end - at_, kMaxLine));
    at_ = end + 1;
    if (std::exchange(skipLine_, false)) continue;
    if (auto record = parseSyslogLine(line, now)) return record;
  }
}

}  // namespace zorva
