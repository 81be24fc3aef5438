#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/base/CommandLine.h"

namespace zorva {

/// Standard output, or a file that is there whole or not at all: it is written under another name
/// beside its own, which it gets by finish().
class OutputFile {
 public:
  static OutputFile standardOutput();

  /// A file, which must not be there yet unless it may be replaced. Nothing, with what is wrong and
  /// what to do, when it cannot be made.
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

  /// What has not been finished leaves nothing behind. Nor does a program that is interrupted or
  /// asked to end.
  ~OutputFile();

  /// Where text is added, for flushIfMuch() to write.
  std::string& pending() { return pending_; }

  /// Writes what is pending once it is a good deal. False when that failed: see problem().
  bool flushIfMuch() { return pending_.size() < kMuch || flush(); }

  /// Writes what is pending, and gives the file its name. False when that failed: see problem().
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
