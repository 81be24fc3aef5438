#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string>

namespace zorva {

/// A directory of a test's own, removed with it.
class DirectoryForTest {
 public:
  DirectoryForTest() {
    std::string name = (std::filesystem::temp_directory_path() / "zorva-XXXXXX").string();
    EXPECT_NE(mkdtemp(name.data()), nullptr);
    path_ = name;
  }
  DirectoryForTest(const DirectoryForTest&) = delete;
  DirectoryForTest& operator=(const DirectoryForTest&) = delete;
  ~DirectoryForTest() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace zorva
