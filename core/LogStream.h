#pragma once

#include <string>
#include <string_view>

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
  LogStream(int descriptor, Ownership ownership)
      : descriptor_(descriptor), owned_(ownership == Ownership::Owned) {}
  LogStream(const LogStream&) = delete;
  LogStream& operator=(const LogStream&) = delete;
  ~LogStream();

  void write(std::string_view text) { pending_ += text; }
  void flush();

  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
  bool owned_;
  bool lineCut_ = false;
  std::string pending_;
};

}  // namespace zorva
