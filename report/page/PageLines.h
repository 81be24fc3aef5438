// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "report/analyse/LogHistory.h"
#include "report/page/TimelineStores.h"

namespace zorva {

/// Puts a log's pieces into a page: chunks of some thousand, deflated and in Base64. Each is in an
/// element of its own that the page opens on demand. Keeps one chunk in memory.
class PageLines {
 public:
  static constexpr std::size_t kPieces = 5000;        ///< of a chunk, at most
  static constexpr std::size_t kBytes = 1 << 20;      ///< of a chunk before it is deflated, about
  static constexpr std::size_t kMaxLength = 8 << 10;  ///< bytes of a piece; a longer one is cut

  /// Where the chunks begin, so that the page can find the one that it needs.
  struct Chunk {
    LogPosition first;
    AxisTime at;
  };

  /// The log has a number where a page shows several.
  explicit PageLines(std::string& to, std::size_t log = 0);
  ~PageLines();

  /// The next piece, at its position in the log. The time is an entry's own, or that of the entry
  /// before.
  void add(std::string_view raw, LogPosition position, AxisTime at);

  /// Appends the last chunk.
  void finish();

  const std::vector<Chunk>& chunks() const { return chunks_; }
  /// The position after the last piece.
  LogPosition end() const { return end_; }

 private:
  class Deflate;

  std::string& to_;
  std::size_t log_;
  std::unique_ptr<Deflate> deflate_;
  std::string text_;
  std::size_t pieces_ = 0;
  LogPosition end_ = 0;
  AxisTime before_ = 0;
  std::vector<Chunk> chunks_;
};

}  // namespace zorva
