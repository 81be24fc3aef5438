// SPDX-License-Identifier: Apache-2.0
#include "apps/LogFiles.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "apps/CommandLine.h"
#include "platform/storage/FileSystem.h"
#include "report/read/LogReader.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

constexpr LogTime kDay = 86400;
constexpr LogTime kNewest = 3 * kDay;
constexpr std::size_t kChunk = 256 << 10;

LogTime localTimeOf(std::time_t time) {
  std::tm local{};
  ::localtime_r(&time, &local);
  return ::timegm(&local);
}

std::time_t timeOfLocal(LogTime time) {
  const std::time_t seconds = time;
  std::tm local{};
  ::gmtime_r(&seconds, &local);
  local.tm_isdst = -1;
  return ::mktime(&local);
}

// As the daemon names a log, also after it has been rotated or compressed.
bool isLogName(const std::string& name, bool toFollow) {
  constexpr std::string_view kExtension = ".zorva";
  if (!name.starts_with("Zorva_") || name.find(".unfinished-") != name.npos) return false;
  return toFollow ? name.ends_with(kExtension) : name.find(kExtension) != name.npos;
}

std::string newestLogs(const std::string& directory, const LogChoice& choice,
                       std::vector<std::string>& logs) {
  std::vector<std::pair<std::time_t, std::string>> found;
  std::error_code error;
  for (fs::directory_iterator file(directory, error), end; !error && file != end;
       file.increment(error)) {
    struct stat status;
    if (isLogName(file->path().filename().string(), choice.toFollow) &&
        ::stat(file->path().c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
        status.st_size > 0) {
      found.emplace_back(status.st_mtime, file->path().string());
    }
  }
  if (error) {
    const bool denied = error.value() == EACCES;
    return directory + ": cannot be read: " + error.message() +
           (denied ? " (read it as its owner, or as root)"
                   : "; name a log, or start the logging service, zorva -d");
  }
  if (found.empty()) {
    return directory + ": holds no log; name one, or start the logging service, zorva -d";
  }
  std::ranges::sort(found);
  std::time_t from = found.back().first - kNewest;
  if (choice.since) {
    const std::time_t seen = std::min(found.back().first, std::time(nullptr));
    from = std::min(from, timeOfLocal(choice.since->seenFrom(localTimeOf(seen))));
  }
  for (const auto& [time, path] : found) {
    if (time >= from) logs.push_back(path);
  }
  return "";
}

std::optional<struct stat> statusOf(const std::string& log) {
  struct stat status;
  const int result = log == "-" ? ::fstat(STDIN_FILENO, &status) : ::stat(log.c_str(), &status);
  return result == 0 ? std::optional(status) : std::nullopt;
}

// The log, if it can be read twice.
std::optional<LogInput> openAgain(const std::string& log) {
  std::string problem;
  if (log == "-") return std::nullopt;
  const auto status = statusOf(log);
  if (!status || !S_ISREG(status->st_mode)) return std::nullopt;
  return LogInput::open(log, problem);
}

// The time of the first entry near the beginning.
std::optional<LogTime> firstTime(LogInput& input) {
  LogReader reader;
  LogRecord record;
  bool more = true;
  reader.begin([&](char* to, std::size_t most) {
    return std::exchange(more, false) ? input.read(to, most) : 0;
  });
  while (reader.next(record)) {
    if (record.isTimed()) return record.time;
  }
  return std::nullopt;
}

// Fills the chunk as far as the log goes. Returns false if reading failed.
bool readChunk(LogInput& input, std::string& chunk) {
  std::size_t held = 0;
  chunk.resize(kChunk);
  for (std::ptrdiff_t count = 1; count != 0 && held < kChunk;) {
    count = input.read(chunk.data() + held, kChunk - held);
    if (count < 0) return false;
    held += static_cast<std::size_t>(count);
  }
  chunk.resize(held);
  return true;
}

enum class Likeness { Different, FirstBegins, SecondBegins };

// Which of the logs' texts begins with the other one.
Likeness compare(const std::string& first, const std::string& second) {
  auto one = openAgain(first);
  auto other = openAgain(second);
  if (!one || !other) return Likeness::Different;
  std::string chunk, otherChunk;
  for (;;) {
    if (!readChunk(*one, chunk) || !readChunk(*other, otherChunk)) return Likeness::Different;
    const std::size_t common = std::min(chunk.size(), otherChunk.size());
    if (std::memcmp(chunk.data(), otherChunk.data(), common) != 0) return Likeness::Different;
    if (common == kChunk) continue;
    return chunk.size() < otherChunk.size() ? Likeness::SecondBegins : Likeness::FirstBegins;
  }
}

void reportCopy(const char* program, const std::string& copy, const std::string& of) {
  complain(program,
           copy + (copy == of ? ": named twice, counted once"
                              : ": not counted, because " + of + " holds all of it"),
           0);
}

void dropLinks(const char* program, std::vector<std::string>& logs) {
  std::vector<std::string> kept;
  for (const std::string& log : logs) {
    const auto status = statusOf(log);
    const auto same = std::ranges::find_if(kept, [&](const std::string& each) {
      const auto other = statusOf(each);
      return status && other && S_ISREG(status->st_mode) && status->st_dev == other->st_dev &&
             status->st_ino == other->st_ino;
    });
    if (same == kept.end()) {
      kept.push_back(log);
    } else {
      reportCopy(program, log, *same);
    }
  }
  logs = kept;
}

}  // namespace

std::string findLogs(std::vector<std::string>& logs, const LogChoice& choice) {
  if (logs.empty()) {
    const auto input = statusOf("-");
    const bool given = input && (S_ISFIFO(input->st_mode) || S_ISREG(input->st_mode));
    logs.emplace_back(given ? "-" : kLogDirectory);
  }
  std::vector<std::string> found;
  for (const std::string& log : logs) {
    const auto status = statusOf(log);
    const bool isDirectory = log == kLogDirectory || (status && S_ISDIR(status->st_mode));
    if (!isDirectory) {
      found.push_back(log);
    } else if (std::string problem = newestLogs(log, choice, found); !problem.empty()) {
      return problem;
    }
  }
  logs = found;
  return "";
}

void arrangeLogs(const char* program, std::vector<std::string>& logs) {
  dropLinks(program, logs);
  if (logs.size() < 2) return;
  std::vector<std::pair<LogTime, std::string>> dated;
  for (const std::string& log : logs) {
    auto input = openAgain(log);
    const auto time = input ? firstTime(*input) : std::nullopt;
    if (!time) return;
    dated.emplace_back(*time, log);
  }
  std::ranges::stable_sort(dated, {}, [](const auto& log) { return log.first; });
  std::vector<std::pair<LogTime, std::string>> kept;
  for (auto& log : dated) {
    bool isCopy = false;
    for (auto& each : kept) {
      if (isCopy || each.first != log.first) continue;
      const Likeness likeness = compare(each.second, log.second);
      if (likeness == Likeness::Different) continue;
      isCopy = true;
      if (likeness == Likeness::SecondBegins) std::swap(each, log);
      reportCopy(program, log.second, each.second);
    }
    if (!isCopy) kept.push_back(log);
  }
  logs.clear();
  for (const auto& log : kept) logs.push_back(log.second);
}

std::string openLogs(const std::vector<std::string>& logs, std::vector<LogInput>& inputs) {
  std::string problem;
  for (const std::string& log : logs) {
    auto input = LogInput::open(log, problem);
    if (!input) return problem;
    inputs.push_back(std::move(*input));
  }
  return "";
}

std::optional<LogTime> endOfLogs(const std::vector<std::string>& logs) {
  auto input = logs.empty() ? std::nullopt : openAgain(logs.back());
  if (!input) return std::nullopt;
  // The beginning names the locale. Of the rest, only the end is parsed.
  std::string begin, before, last;
  if (!readChunk(*input, begin)) return std::nullopt;
  last = begin;
  if (!input->isCompressed()) input->toLast(2 * kChunk);
  for (bool more = true; more;) {
    std::string chunk;
    if (!readChunk(*input, chunk)) return std::nullopt;
    more = chunk.size() == kChunk;
    if (!chunk.empty()) before = std::exchange(last, std::move(chunk));
  }
  last.insert(0, before);
  LogReader reader;
  LogRecord record;
  std::optional<LogTime> end;
  for (const std::string_view text : {std::string_view(begin), std::string_view(last)}) {
    reader.begin(readFrom(text));
    while (reader.next(record)) {
      if (record.isTimed()) end = record.time;
    }
  }
  return end;
}

LogWindow RequestedWindow::seenFrom(LogTime time) const {
  LogWindow window;
  if (lastNight) {
    const LogTime midnight = time - (time % kDay + kDay) % kDay;
    window.since = midnight - 6 * LogTime{3600};
    window.until = midnight + 10 * LogTime{3600};
  }
  if (since) window.since = since->seenFrom(time);
  if (until)
    window.until = until->seenFrom(time, since ? std::optional(window.since) : std::nullopt);
  return window;
}

LogWindow RequestedWindow::of(const std::vector<std::string>& logs) const {
  const LogTime now = localTimeOf(std::time(nullptr));
  const LogWindow window = seenFrom(now);
  if (!isRelative()) return window;
  const auto end = endOfLogs(logs);
  if (!end) return window;
  const LogTime from = since || lastNight ? window.since : window.until;
  return from > *end || *end > now + kDay ? seenFrom(*end) : window;
}

}  // namespace zorva
