// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace zorva {

/// An output stream on a descriptor: what is written waits until flush() hands it over in one
/// write(2), however long it is.
///
/// What cannot be written is lost, and nothing else: after a write that stopped short, the next one
/// starts on a line of its own. Write errors are not reported.
class LogStream {
 public:
  enum class Ownership { Borrowed, Owned };

  /// An owned descriptor is closed with the stream.
  /// `broken` is called at each write to a pipe that no process reads any more.
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
  bool lineCut_ = false;
  std::string pending_;
};

}  // namespace zorva
