// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "report/format/Wording.h"

namespace zorva {

/// The layout of a human-readable page.
struct TextStyle {
  std::size_t width = 80;  ///< characters of a line
  bool colour = false;
  bool whole = false;  ///< names in tables are never cut: for files and other programs
};

/// A page of sentences and tables. Text from a log is made safe for terminals.
class TextPage {
 public:
  enum class Align { Left, Right };
  struct Column {
    std::string_view title;
    Align align = Align::Left;
    bool flexible = false;  ///< may be cut if the line would be too long
  };
  using Row = std::vector<std::string>;

  explicit TextPage(const TextStyle& style) : style_(style) {}

  void heading(std::string_view title);
  /// Wrapped at its blanks.
  void sentence(std::string_view text);
  /// Columns that are empty in every row are left out.
  void table(const std::vector<Column>& columns, const std::vector<Row>& rows);

  std::string take() { return std::move(text_); }

 private:
  static constexpr std::size_t kMargin = 2;
  std::string styled(std::string_view text, std::string_view code) const;

  TextStyle style_;
  std::string text_;
};

/// The number of terminal columns that a text takes.
std::size_t columnsOf(std::string_view text);
/// Cut to so many columns. "..." replaces the missing part.
std::string cutTo(std::string_view text, std::size_t columns);

}  // namespace zorva
