// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "platform/base/Text.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {

/// Journal files in a temporary directory, written by the journal's own tool.
class JournalFilesForTest {
 public:
  static constexpr const char* kWriter = "/lib/systemd/systemd-journal-remote";
  static constexpr int kStart = 1763300000;  ///< seconds since 1970, before the first entry

  static bool canWrite() { return access(kWriter, X_OK) == 0; }
  std::string directory() const { return directory_ / "journal"; }

  /// One entry in the journal's export format, a second after the previous one.
  void entry(const std::string& fields) {
    ++second_;
    unwritten_ += formatText(
                      "__REALTIME_TIMESTAMP=%d500000\n"
                      "__MONOTONIC_TIMESTAMP=%d500000\n"
                      "_BOOT_ID=0123456789abcdef0123456789abcdef\n",
                      kStart + second_, second_) +
                  fields + "\n\n";
  }
  /// Writes the entries added since the last call into a file of their own.
  void write() {
    std::filesystem::create_directories(directory());
    const std::string file = directory() + formatText("/%d.journal", ++files_);
    FILE* tool = popen((std::string(kWriter) + " -o " + file + " - 2>/dev/null").c_str(), "w");
    fwrite(unwritten_.data(), 1, unwritten_.size(), tool);
    EXPECT_EQ(pclose(tool), 0);
    unwritten_.clear();
  }

 private:
  DirectoryForTest directory_;
  std::string unwritten_;
  int second_ = 0;
  int files_ = 0;
};

}  // namespace zorva
