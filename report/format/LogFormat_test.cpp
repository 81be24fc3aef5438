#include "report/format/LogFormat.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "report/read/LogReader.h"

// Runs in the source tree. The tables are compared with the sources that write the log, and with
// the logs of the scenarios.

namespace zorva {
namespace {

using Keys = std::set<std::string>;

std::string contentOf(const std::filesystem::path& path) {
  std::ostringstream content;
  content << std::ifstream(path).rdbuf();
  return content.str();
}

std::vector<std::smatch> matches(const std::string& text, const std::regex& pattern) {
  return {std::sregex_iterator(text.begin(), text.end(), pattern), std::sregex_iterator()};
}

// What a class writes: the string literals of all its files.
struct Writer {
  Keys categories;
  Keys keys;
  std::map<std::string, Keys> words;  // by key: the values in the source
  bool anyKey = false;                // some keys come from the device
};

// The string literals. Adjacent ones are joined.
std::vector<std::string> literalsOf(const std::string& source) {
  static const std::regex kToken(R"re("((?:[^"\\\n]|\\.)*)"|'(?:[^'\\\n]|\\.)'|//[^\n]*|[^\s])re");
  std::vector<std::string> literals;
  bool joins = false;
  for (const auto& token : matches(source, kToken)) {
    if (!token[1].matched) {
      joins = false;
    } else if (joins) {
      literals.back() += token[1];
    } else {
      literals.push_back(token[1]);
      joins = true;
    }
  }
  return literals;
}

void readSource(const std::string& source, Writer& writer) {
  static const std::regex kCategory(
      R"re((?:logEntryWithBody(?:ForDate)?\(|emplace_back\()\s*"([^"]+)")re");
  static const std::regex kField(R"re((?:^|;) ([^\s=]+)=([^;]*))re");
  // A key on its own: a function's return value, a row of a table of names.
  static const std::regex kName(R"re((?:return|[A-Za-z]+,) "([a-z_]+)"(?:;|\},))re");
  for (const auto& match : matches(source, kCategory)) writer.categories.insert(match[1]);
  for (const std::string& literal : literalsOf(source)) {
    for (const auto& field : matches(literal, kField)) {
      const std::string key = field[1];
      const std::string value = field[2];
      if (key.find('%') != std::string::npos) {
        writer.anyKey = true;
        continue;
      }
      writer.keys.insert(key);
      if (!value.empty() && value.find('%') == std::string::npos) writer.words[key].insert(value);
    }
  }
  if (writer.anyKey) {
    for (const auto& match : matches(source, kName)) writer.keys.insert(match[1]);
  }
}

// By class; what is in ZVPacketTracker_sockets.cpp belongs to ZVPacketTracker.
std::map<std::string, Writer> writers() {
  std::map<std::string, Writer> found;
  for (const char* room : {"core", "power", "telephony", "wake", "loggers", "process"}) {
    for (const auto& file : std::filesystem::directory_iterator(room)) {
      const std::string name = file.path().stem().string();
      if (file.path().extension() != ".cpp" || name.ends_with("_test")) continue;
      readSource(contentOf(file.path()), found[name.substr(0, name.find('_'))]);
    }
  }
  return found;
}

TEST(LogFormat, TheTablesListExactlyTheFieldsThatTheSourcesWrite) {
  Keys written;
  for (const auto& [name, writer] : writers()) {
    SCOPED_TRACE(name);
    Keys reported;
    std::vector<const EntryFormat*> formats;
    bool anyKey = false;
    for (const std::string& category : writer.categories) {
      written.insert(category);
      const EntryFormat* format = entryFormat(category);
      if (format == nullptr) {
        ADD_FAILURE() << "no table has the category " << category;
        continue;
      }
      formats.push_back(format);
      for (const FieldFormat& field : format->fields) {
        const std::string key(field.key);
        if (key == "*") {
          anyKey = true;
          continue;
        }
        reported.insert(key);
        EXPECT_TRUE(writer.keys.contains(key)) << category << ": no source writes " << key;
      }
    }
    for (const std::string& key : writer.keys) {
      // The name of a technology that has none; all those in use have one.
      if (name == "ZVGeodyneLogger" && key == "unknown") continue;
      EXPECT_TRUE(reported.contains(key)) << "no table has the field " << key;
    }
    for (const auto& [key, words] : writer.words) {
      for (const std::string& word : words) {
        bool known = word == "<unknown>";
        for (const EntryFormat* format : formats) {
          for (const FieldFormat& field : format->fields) {
            for (const WordFormat& each : field.words) {
              known = known || (field.key == key && each.word == word);
            }
          }
        }
        EXPECT_TRUE(known) << "no table has the word " << word << " of " << key;
      }
    }
    const bool names = name == "ZVGeodyneLogger";  // of a closed list
    EXPECT_EQ(writer.anyKey && !names, anyKey) << "keys that the device gives";
  }
  for (const EntryFormat& format : logFormat()) {
    EXPECT_TRUE(written.contains(std::string(format.category)))
        << "no source writes " << format.category;
    EXPECT_FALSE(format.meaning.empty() || format.written.empty()) << format.category;
    for (const FieldFormat& field : format.fields) {
      EXPECT_FALSE(field.meaning.empty() || field.onLinux.empty())
          << format.category << ": " << field.key;
    }
  }
}

TEST(LogFormat, EveryEntryOfTheScenariosReadsAsTheTablesSay) {
  Keys seen;
  for (const auto& file : std::filesystem::directory_iterator("scenarios")) {
    if (file.path().extension() != ".log") continue;
    std::ifstream stream(file.path());
    LogReader reader(logFormat());
    reader.begin(readFrom(stream));
    LogRecord record;
    std::vector<LogField> fields;
    while (reader.next(record)) {
      SCOPED_TRACE(file.path().string() + ":" + std::to_string(record.line) + ": " +
                   std::string(record.raw));
      EXPECT_NE(record.piece, LogPiece::kDamaged);
      if (record.piece != LogPiece::kEntry) continue;
      seen.insert(std::string(record.category));
      ASSERT_NE(record.format, nullptr);
      if (record.format->shape == EntryShape::kText) continue;
      splitFields(record, fields);
      const FieldFormat* before = nullptr;
      for (const LogField& field : fields) {
        EXPECT_TRUE(field.isWellFormed()) << field.raw;
        EXPECT_TRUE(before == nullptr || field.format > before ||
                    (field.format == before && before->key == "*"))
            << "out of order: " << field.raw;
        before = field.format;
      }
    }
  }
  for (const EntryFormat& format : logFormat()) {
    EXPECT_TRUE(seen.contains(std::string(format.category))) << format.category << " is in no log";
  }
}

}  // namespace
}  // namespace zorva
