// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "apps/CommandLine.h"

namespace zorva {

/// Standard output, or a file that appears under its name only when it is complete: it is written
/// under a temporary name in the same directory, and finish() renames it.
class OutputFile {
 public:
  static OutputFile standardOutput();

  /// A file, which must not exist unless `replace` is set. If it cannot be created: nothing, and
  /// `problem` says why and what to do.
  static std::optional<OutputFile> make(const std::string& path, bool replace,
                                        std::string& problem);

  OutputFile(OutputFile&& other) noexcept
      : name_(std::move(other.name_)),
        temporary_(std::exchange(other.temporary_, {})),
        pending_(std::move(other.pending_)),
        problem_(std::move(other.problem_)),
        descriptor_(std::exchange(other.descriptor_, -1)),
        replace_(other.replace_) {}
  OutputFile& operator=(OutputFile&&) = delete;

  /// Removes an unfinished file. SIGINT, SIGTERM and SIGHUP remove it, too.
  ~OutputFile();

  /// The buffer to which text is appended; flushIfMuch() writes it.
  std::string& pending() { return pending_; }

  /// Writes the buffer once it is large. Returns false on failure: see problem().
  bool flushIfMuch() { return pending_.size() < kMuch || flush(); }

  /// Writes the buffer and gives the file its name. Returns false on failure: see problem().
  bool finish();

  const std::string& problem() const { return problem_; }

 private:
  static constexpr std::size_t kMuch = 256 << 10;

  OutputFile() = default;
  bool flush();
  bool fail(const std::string& what, int error);
  void close();

  std::string name_;
  std::string temporary_;  // empty for standard output, and once the file has its name
  std::string pending_;
  std::string problem_;
  int descriptor_ = -1;
  bool replace_ = false;
};

/// "-o FILE" or "--output FILE", which sets `to` once.
CommandOption outputOption(std::optional<std::string>& to);

}  // namespace zorva
