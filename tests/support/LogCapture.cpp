// SPDX-License-Identifier: Apache-2.0
#include "tests/support/LogCapture.h"

#include <array>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>

namespace zorva {

LogCapture::LogCapture()
    : stream_(::memfd_create("log", MFD_CLOEXEC), LogStream::Ownership::Owned) {}

LogCapture::~LogCapture() {
  expectNoLines("log", takeLines());
}

std::vector<std::string> LogCapture::takeLines() {
  std::string text;
  std::array<char, 4096> buffer;
  ssize_t count = 0;
  while ((count = ::pread(stream_.descriptor(), buffer.data(), buffer.size(), taken_)) > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
    taken_ += count;
  }
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  if (!text.empty() && text.back() != '\n') {
    ADD_FAILURE() << "the log ends in the middle of a line: " << lines.back();
  }
  return lines;
}

std::vector<std::string> LogCapture::takeEntries() {
  std::vector<std::string> entries;
  for (const std::string& line : takeLines()) entries.push_back(withoutDate(line));
  return entries;
}

std::string withoutDate(const std::string& line) {
  static const std::regex kDate(R"(^\d\d/\d\d/\d\d \d\d:\d\d:\d\d (?=\[))");
  EXPECT_TRUE(std::regex_search(line, kDate)) << "no log entry: " << line;
  return std::regex_replace(line, kDate, "");
}

void expectNoLines(const char* where, const std::vector<std::string>& lines) {
  for (const std::string& line : lines)
    ADD_FAILURE() << "unexpected line in the " << where << ": " << line;
}

}  // namespace zorva
