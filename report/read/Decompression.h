// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace zorva {

/// Unpacks a compressed file as it is read, with memory that does not grow with it. A file may hold
/// several compressed ones, one after the other.
class Decompression {
 public:
  /// The most bytes by which of() recognises a compressed file.
  static constexpr std::size_t kMagicLength = 6;

  /// For a file that begins with these bytes: gzip, xz or Zstandard. Null if it is none of them.
  static std::unique_ptr<Decompression> of(std::string_view begin);
  /// Whether more of these bytes could make it one.
  static bool maybe(std::string_view begin);

  virtual ~Decompression() = default;

  /// The program that makes and unpacks such files: "gzip".
  virtual const char* program() const = 0;

  /// Takes bytes off the front of `from` and writes at most `most` unpacked ones; returns their
  /// number. If that is 0, more bytes are needed; `last` says that none follow. Nothing if the
  /// bytes are damaged: then problem() says how.
  virtual std::optional<std::size_t> unpack(std::string_view& from, bool last, char* to,
                                            std::size_t most) = 0;

  /// Whether nothing is missing after the bytes so far.
  bool isComplete() const { return complete_; }

  const std::string& problem() const { return problem_; }

 protected:
  std::optional<std::size_t> fail(std::string problem) {
    problem_ = std::move(problem);
    return std::nullopt;
  }

  bool complete_ = false;

 private:
  std::string problem_;
};

}  // namespace zorva
