#include "tests/support/LogCapture.h"

#include <array>
#include <cctype>
#include <gtest/gtest.h>
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
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    if (end == std::string_view::npos) {
      ADD_FAILURE() << "the log ends in the middle of a line: " << rest;
      lines.emplace_back(rest);
      break;
    }
    lines.emplace_back(rest.substr(0, end));
    rest.remove_prefix(end + 1);
  }
  return lines;
}

std::vector<std::string> LogCapture::takeEntries() {
  std::vector<std::string> entries;
  for (const std::string& line : takeLines()) entries.push_back(withoutDate(line));
  return entries;
}

std::string withoutDate(std::string_view line) {
  constexpr std::string_view kShape = "00/00/00 00:00:00 [";
  bool entry = line.size() >= kShape.size();
  for (std::size_t i = 0; entry && i < kShape.size(); ++i) {
    entry = kShape[i] == '0' ? std::isdigit(static_cast<unsigned char>(line[i])) != 0
                             : line[i] == kShape[i];
  }
  if (!entry) {
    ADD_FAILURE() << "no log entry: " << line;
    return std::string(line);
  }
  return std::string(line.substr(kShape.size() - 1));
}

void expectNoLines(const char* where, const std::vector<std::string>& lines) {
  for (const std::string& line : lines)
    ADD_FAILURE() << "unexpected line in the " << where << ": " << line;
}

}  // namespace zorva
