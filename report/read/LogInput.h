// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/base/Descriptor.h"

namespace zorva {

/// A log that is open for reading. If its contents are compressed, their text is read.
class LogInput {
 public:
  /// Opens a file, a pipe, or for "-" standard input. If it cannot be read, returns nothing, with
  /// the reason and a remedy in `problem`.
  static std::optional<LogInput> open(const std::string& path, std::string& problem);

  LogInput(LogInput&& other) noexcept;
  LogInput& operator=(LogInput&&) = delete;
  ~LogInput();

  /// Its name in messages.
  const std::string& name() const { return name_; }

  /// Bytes as they are stored; nothing if it is not a regular file.
  std::optional<std::uint64_t> size() const { return size_; }

  /// How many of these bytes have been read.
  std::uint64_t position() const { return position_; }

  /// Whether the file can be opened and read once more.
  bool canBeReadAgain() const { return size_ && file_; }

  /// Continues with the last so many bytes, as they are stored, of a regular file that is not
  /// compressed, if they have not been read yet.
  void toLast(std::uint64_t bytes);

  /// Whether it is a regular file with compressed contents.
  bool isCompressed() const;

  /// Whether the path leads to this very file.
  bool isFileAt(const std::string& path) const;
  bool isSameFile(const LogInput& other) const { return identity_ == other.identity_; }

  /// As in LogReader::Read. If the compressed contents are damaged or incomplete, errno is EBADMSG
  /// and problem() says what is wrong and where.
  std::ptrdiff_t read(char* to, std::size_t most);

  const std::string& problem() const { return problem_; }

  /// The first bytes of the text that was read, at most kHeadLength.
  const std::string& head() const { return head_; }
  static constexpr std::size_t kHeadLength = 512;

 private:
  struct Packed;

  LogInput();
  std::ptrdiff_t readStored(char* to, std::size_t most);
  std::ptrdiff_t readFirst(char* to, std::size_t most);
  std::ptrdiff_t readPacked(char* to, std::size_t most);

  std::string name_;
  std::string problem_;
  std::string head_;
  Descriptor file_;  // none for standard input
  int descriptor_ = -1;
  bool begun_ = false;
  std::optional<std::uint64_t> size_;
  std::uint64_t position_ = 0;
  std::pair<std::uint64_t, std::uint64_t> identity_;  // device and inode
  std::unique_ptr<Packed> packed_;                    // if its contents are compressed
};

}  // namespace zorva
