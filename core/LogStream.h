// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace zorva {

/// An output stream on a descriptor: text is buffered until flush() writes it in one write(2),
/// whatever its length.
///
/// Text that cannot be written is lost. After a partial write, the next one starts on a new line.
/// Write errors are not reported.
class LogStream {
 public:
  enum class Ownership { Borrowed, Owned };

  /// An owned descriptor is closed with the stream. `broken` is called at each write to a pipe that
  /// has no reader any more.
  LogStream(int descriptor, Ownership ownership, std::function<void()> broken = nullptr)
      : descriptor_(descriptor),
        owned_(ownership == Ownership::Owned),
        broken_(std::move(broken)) {}
  LogStream(const LogStream&) = delete;
  LogStream& operator=(const LogStream&) = delete;
  ~LogStream();

  void write(std::string_view text) { pending_ += text; }
  void flush();

  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
  bool owned_;
  std::function<void()> broken_;
  bool lineIncomplete_ = false;
  std::string pending_;
};

}  // namespace zorva
