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
  /// Opens a file, a pipe, or for "-" standard input. Nothing, with what is wrong and what to do,
  /// when it cannot be read.
  static std::optional<LogInput> open(const std::string& path, std::string& problem);

  LogInput(LogInput&& other) noexcept
      : name_(std::move(other.name_)),
        descriptor_(std::exchange(other.descriptor_, -1)),
        owned_(other.owned_),
        size_(other.size_),
        identity_(other.identity_) {}
  LogInput& operator=(LogInput&&) = delete;
  ~LogInput();

  /// As it is called in messages.
  const std::string& name() const { return name_; }

  /// Bytes; nothing for what is no plain file.
  std::optional<std::uint64_t> size() const { return size_; }

  /// The path leads to this very file.
  bool isFileAt(const std::string& path) const;

  /// As LogReader::Read has it.
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
