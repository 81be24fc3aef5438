// SPDX-License-Identifier: Apache-2.0
#include "report/format/LogFormat.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

#include "report/read/LogReader.h"

// Runs in the source tree: the tables are compared with the logs of the scenarios.
// tools/check_log_format compares them with the sources that write the log.

namespace zorva {
namespace {

TEST(LogFormat, EveryCategoryAndFieldIsExplained) {
  for (const EntryFormat& format : logFormat()) {
    EXPECT_FALSE(format.meaning.empty() || format.written.empty()) << format.category;
    for (const FieldFormat& field : format.fields) {
      EXPECT_FALSE(field.meaning.empty() || field.onLinux.empty())
          << format.category << ": " << field.key;
    }
  }
}

TEST(LogFormat, EveryEntryOfTheScenariosReadsAsTheTablesSay) {
  std::set<std::string> seen;
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
      EXPECT_NE(record.piece, LogPiece::Damaged);
      if (record.piece != LogPiece::Entry) continue;
      seen.insert(std::string(record.category));
      ASSERT_NE(record.format, nullptr);
      if (record.format->shape == EntryShape::Text) continue;
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
