// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace zorva {

/// Values that the kernel publishes by name: "kern.wakereason", why the system woke last, and
/// "kern.bootargs", the arguments it was started with. Texts, ended by a NUL where there is room.
class KernelValues {
 public:
  virtual ~KernelValues() = default;

  /// Stores the value's size in bytes. Answers 0, or the error number: ENOENT when there is no such
  /// value.
  virtual int sizeOf(const std::string& name, std::size_t& size) = 0;

  /// Fills the buffer from its start, with no more than fits into it, and stores how many bytes it
  /// filled. Answers 0 or the error number.
  virtual int read(const std::string& name, std::span<char> buffer, std::size_t& filled) = 0;
};

}  // namespace zorva
