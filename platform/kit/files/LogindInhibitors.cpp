// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/files/LogindInhibitors.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::string_view kPipeSuffix = ".ref";

// The value of an assignment without its quotes; inside them, a backslash escapes the next byte.
std::string unquoted(std::string_view value) {
  if (value.size() < 2 || value.front() != '"' || value.back() != '"') return std::string(value);
  value = value.substr(1, value.size() - 2);
  std::string text;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] == '\\' && i + 1 < value.size()) ++i;
    text += value[i];
  }
  return text;
}

// Decodes the escapes of a C string: letters for control characters, three octal digits for bytes.
std::string unescaped(std::string_view value) {
  constexpr std::string_view kLetters = "abfnrtv";
  constexpr std::string_view kMeanings = "\a\b\f\n\r\t\v";
  const auto octal = [&](std::size_t i) {
    return i < value.size() && value[i] >= '0' && value[i] <= '7';
  };
  std::string text;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\' || i + 1 == value.size()) {
      text += value[i];
      continue;
    }
    ++i;
    if (const std::size_t letter = kLetters.find(value[i]); letter != kLetters.npos) {
      text += kMeanings[letter];
    } else if (octal(i) && octal(i + 1) && octal(i + 2)) {
      text +=
          static_cast<char>((value[i] - '0') * 64 + (value[i + 1] - '0') * 8 + value[i + 2] - '0');
      i += 2;
    } else {
      text += value[i];
    }
  }
  return text;
}

std::optional<Date> modified(const std::string& path) {
  struct stat status;
  if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
  return Date(std::chrono::floor<std::chrono::microseconds>(
      std::chrono::seconds(status.st_mtim.tv_sec) +
      std::chrono::nanoseconds(status.st_mtim.tv_nsec)));
}

}  // namespace

bool LogindInhibitor::keepsAwake() const {
  if (mode != "block" && mode != "block-weak") return false;
  std::istringstream words(what);
  for (std::string word; std::getline(words, word, ':');) {
    if (word == "sleep" || word == "idle") return true;
  }
  return false;
}

std::optional<LogindInhibitor> parseInhibitorFile(std::string_view text) {
  LogindInhibitor inhibitor;
  bool hasProcess = false;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    const std::size_t equals = line.find('=');
    if (equals == line.npos) continue;
    const std::string_view key = line.substr(0, equals);
    const std::string value = unquoted(line.substr(equals + 1));
    if (key == "WHAT") inhibitor.what = value;
    if (key == "MODE") inhibitor.mode = value;
    if (key == "WHO") inhibitor.who = unescaped(value);
    if (key == "WHY") inhibitor.why = unescaped(value);
    const auto number = parseNumber<std::uint32_t>(value);
    if (key == "UID") {
      if (!number) return std::nullopt;
      inhibitor.user = *number;
    }
    if (key == "PID") {
      hasProcess = number.has_value();
      inhibitor.pid = number.value_or(0);
    }
  }
  if (!hasProcess || inhibitor.what.empty()) return std::nullopt;
  return inhibitor;
}

InhibitorStarts readInhibitorStarts(const std::string& directory) {
  InhibitorStarts starts;
  std::error_code error;
  for (std::filesystem::directory_iterator at(directory, error), end; !error && at != end;
       at.increment(error)) {
    std::error_code statusError;
    if (!at->is_regular_file(statusError)) continue;
    const std::string path = at->path().string();
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    const auto inhibitor = parseInhibitorFile(text.str());
    if (!inhibitor) continue;
    auto start = modified(path + std::string(kPipeSuffix));
    if (!start) start = modified(path);
    if (start) starts[*inhibitor].push_back(*start);
  }
  for (auto& [inhibitor, dates] : starts) std::sort(dates.begin(), dates.end());
  return starts;
}

}  // namespace zorva
