// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace zorva {

/// A log that is open for reading.
class LogInput {
 public:
  /// Opens a file, a pipe, or for "-" standard input. If it cannot be read, returns nothing, with
  /// the reason and a remedy in `problem`.
  static std::optional<LogInput> open(const std::string& path, std::string& problem);

  LogInput(LogInput&& other) noexcept
      : name_(std::move(other.name_)),
        descriptor_(std::exchange(other.descriptor_, -1)),
        owned_(other.owned_),
        size_(other.size_),
        identity_(other.identity_) {}
  LogInput& operator=(LogInput&&) = delete;
  ~LogInput();

  /// Its name in messages.
  const std::string& name() const { return name_; }

  /// Bytes; nothing if it is not a plain file.
  std::optional<std::uint64_t> size() const { return size_; }

  /// Whether the path leads to this very file.
  bool isFileAt(const std::string& path) const;

  /// As in LogReader::Read.
  std::ptrdiff_t read(char* to, std::size_t most);

 private:
  LogInput() = default;

  std::string name_;
  int descriptor_ = -1;
  bool owned_ = false;
  std::optional<std::uint64_t> size_;
  std::pair<std::uint64_t, std::uint64_t> identity_;  // device and inode
};

}  // namespace zorva
