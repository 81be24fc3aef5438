// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdlib.h>
#include <string>

namespace zorva {

/// A temporary directory that other users may read, removed with this object.
class DirectoryForTest {
 public:
  DirectoryForTest() {
    std::string name = (std::filesystem::temp_directory_path() / "zorva-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
    std::filesystem::permissions(path_, std::filesystem::perms(0755));
  }
  DirectoryForTest(DirectoryForTest&&) = delete;  // not copyable
  ~DirectoryForTest() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }
  /// Writes a file, and creates its parent directories.
  void write(const std::string& name, const std::string& text) const {
    std::filesystem::create_directories((path_ / name).parent_path());
    std::ofstream(path_ / name) << text;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace zorva
