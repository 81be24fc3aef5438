// SPDX-License-Identifier: Apache-2.0
// Files that grow while they are read: a syslog daemon's, and a log that zorva-report follows. For
// any contents, in pieces of any size, and however the files are rotated, nothing is read twice or
// passed over, and what is printed of it is one line.
//
// An input is a byte for the reader and for how many earlier lines it reads, and steps, divided by
// NUL bytes: one byte of what happens to the file, the rest is appended.

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/stat.h>

#include "apps/LogFollower.h"
#include "platform/base/Text.h"
#include "platform/syslog/linux/SyslogFile.h"
#include "platform/testing/TemporaryDirectory.h"
#include "report/read/Decompression.h"
#include "report/read/LogReader.h"
#include "report/text/LogNews.h"
#include "tests/fuzz/Require.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

struct Step {
  char what = 0;
  std::string text;
};

std::vector<Step> stepsOf(std::string_view input) {
  std::vector<Step> steps;
  while (!input.empty()) {
    const std::string_view piece = input.substr(0, input.find('\0'));
    if (!piece.empty()) steps.push_back({piece[0], std::string(piece.substr(1))});
    input.remove_prefix(std::min(piece.size() + 1, input.size()));
  }
  return steps;
}

const DirectoryForTest& directory() {
  static const DirectoryForTest root;
  static const bool made = fs::create_directory(root / "logs");
  REQUIRE(made || fs::exists(root / "logs"));
  return root;
}

void append(const std::string& path, std::string_view text) {
  std::ofstream(path, std::ios::app | std::ios::binary) << text;
}

void clear() {
  for (const auto& entry : fs::directory_iterator(directory() / "logs")) fs::remove(entry.path());
}

// What is read of a syslog daemon's file.
class Messages {
 public:
  static constexpr std::int64_t kNow = 1'795'000'000;
  static constexpr std::size_t kMaxLine = 8192;
  static constexpr std::size_t kMaxFirst = 65536;

  // What is read first of a file with these contents.
  void begin(std::string contents, std::size_t earlier) {
    if (contents.size() > kMaxFirst) {
      contents.erase(0, contents.size() - kMaxFirst);
      inLongLine_ = true;  // until its end
    }
    std::size_t lines = static_cast<std::size_t>(std::ranges::count(contents, '\n'));
    for (; lines > earlier; --lines) {
      contents.erase(0, contents.find('\n') + 1);
      inLongLine_ = false;
    }
    append(contents);
  }
  void append(std::string_view text) {
    rest_ += text;
    for (std::size_t end; (end = rest_.find('\n')) != rest_.npos; rest_.erase(0, end + 1)) {
      if (!std::exchange(inLongLine_, false)) expect(rest_.substr(0, std::min(end, kMaxLine)));
    }
    if (rest_.size() <= kMaxLine && !inLongLine_) return;
    if (!std::exchange(inLongLine_, true)) expect(rest_.substr(0, kMaxLine));
    rest_.clear();
  }
  void rotate() {
    rest_.clear();
    inLongLine_ = false;
  }
  void read(SyslogFile& file) {
    while (const auto record = file.next(kNow)) {
      REQUIRE(!expected_.empty() && record->time == expected_.front().time &&
              record->sender == expected_.front().sender &&
              record->process == expected_.front().process &&
              record->text == expected_.front().text);
      expected_.erase(expected_.begin());
    }
    REQUIRE(expected_.empty());
  }

 private:
  void expect(const std::string& line) {
    const auto record = parseSyslogLine(line, kNow);
    if (!record) return;
    REQUIRE(record->text && record->text->size() <= SystemLogRecord::kMaxTextBytes);
    REQUIRE(line.find(*record->text) != line.npos && !(record->sender && record->sender->empty()));
    expected_.push_back(*record);
  }

  std::string rest_;
  bool inLongLine_ = false;
  std::vector<SystemLogRecord> expected_;
};

void checkSyslog(const std::vector<Step>& steps, std::size_t earlier) {
  const std::string path = directory() / "logs/syslog";
  SyslogFile file({path}, earlier);
  Messages messages;
  REQUIRE(!file.open() && !file.next(0));
  std::string before;  // the file is opened
  std::size_t many = 0;
  bool moved = false;  // and the file in its place has not been read yet
  for (const Step& step : steps) {
    std::string text = step.text;
    // A line or a file that is too long.
    for (int i = 0; step.what == 'l' && many < (1 << 17) && i < 1000; ++i) text += step.text;
    many += text.size();
    if (step.what == 'o' && !fs::exists(path)) append(path, "");
    if (step.what == 'o' && file.open()) {
      messages.begin(std::exchange(before, {}), earlier);
      earlier = SIZE_MAX;  // it is open
    }
    const bool open = earlier == SIZE_MAX;
    if (open && (step.what == 'r' || step.what == 't' || step.what == 'm')) {
      if (step.what != 'm' || std::exchange(moved, true)) messages.read(file), moved = false;
      if (step.what == 't') {
        fs::resize_file(path, 0);
        messages.read(file);
        messages.rotate();
      } else if (step.what == 'm') {
        fs::rename(path, path + ".1");
        append(path, "");
        messages.rotate();
        moved = true;
      }
    }
    append(path, text);
    open ? messages.append(text) : static_cast<void>(before += text);
  }
  if (earlier == SIZE_MAX) messages.read(file);
}

// The log's news, of as many files as there are.
struct News {
  std::vector<std::string> lines;
  LogNews news{[this](const std::string& line) {
    REQUIRE(!line.empty() && safeText(line) == line);
    lines.push_back(line);
  }};
  LogReader reader;
  std::string text;

  void read(LogReader::Read from) {
    reader.begin(std::move(from));
    LogRecord record;
    while (reader.next(record)) {
      text += record.raw;
      news.add(record, true);
      REQUIRE(news.due().value_or(1) > 0);
    }
  }
};

void checkFollower(std::vector<Step> steps) {
  // A compressed log is not followed.
  for (const Step& step : steps) {
    if (Decompression::of(step.text) != nullptr) return;
  }
  const std::string folder = directory() / "logs/";
  std::vector<std::string> contents(1);  // of each log
  const auto path = [&] { return folder + std::to_string(contents.size()) + ".zorva"; };
  append(path(), "");
  std::string problem;
  auto input = LogInput::open(path(), problem);
  REQUIRE(input.has_value());
  std::reverse(steps.begin(), steps.end());
  LogFollower follower(std::move(*input), [&](LogFollower::Seconds silence) {
    REQUIRE(silence == LogFollower::Seconds(0));  // each step is an event
    if (steps.empty()) return std::optional<LogFollower::Seconds>();
    const Step step = steps.back();
    steps.pop_back();
    if (step.what == 'o') append(folder + "other", step.text), fs::remove(folder + "other");
    if (step.what == 'b') append(folder + "brief.zorva", ""), fs::remove(folder + "brief.zorva");
    if (step.what == 'm') fs::rename(path(), path() + ".closed");
    for (int files = step.what == 'd' ? 2 : step.what == 'm' || step.what == 'n'; files > 0;
         --files) {
      contents.emplace_back(files > 1 ? step.text + "\n" : "");
      append(path(), contents.back());
    }
    append(path(), step.text + "\n");
    contents.back() += step.text + "\n";
    return std::optional(LogFollower::Seconds(5));
  });
  REQUIRE(follower.watch().empty());
  News news, whole;
  do {
    news.read([&](char* to, std::size_t most) { return follower.read(to, most); });
  } while (follower.next());
  for (const std::string& text : contents) whole.read(readFrom(text));
  REQUIRE(news.text == whole.text && news.lines == whole.lines);
  for (News* each : {&news, &whole}) {
    each->news.begin();
    each->news.silent(LogNews::kLongHold);
    each->news.finish();
  }
  REQUIRE(news.lines == whole.lines);
}

}  // namespace
}  // namespace zorva

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zorva;
  if (size == 0) return 0;
  static const bool zone = ::setenv("TZ", "Europe/Berlin", 1) == 0;
  REQUIRE(zone);
  const auto steps = stepsOf({reinterpret_cast<const char*>(data) + 1, size - 1});
  data[0] % 2 == 0 ? checkSyslog(steps, data[0] / 2) : checkFollower(steps);
  clear();
  return 0;
}
