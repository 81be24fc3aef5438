// SPDX-License-Identifier: Apache-2.0
#include "report/text/TextPage.h"

#include <algorithm>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::string_view kBold = "1";
constexpr std::string_view kDim = "2";
constexpr std::string_view kGap = "  ";

// An approximation for the scripts of most names. East Asian scripts and emoji are wide.
std::size_t columnsOf(char32_t code) {
  if ((code >= 0x300 && code < 0x370) || (code >= 0x200B && code < 0x2010) ||
      (code >= 0xFE00 && code < 0xFE10)) {
    return 0;
  }
  const bool wide = (code >= 0x1100 && code < 0x1160) || (code >= 0x2E80 && code < 0xA4D0) ||
                    (code >= 0xAC00 && code < 0xD7A4) || (code >= 0xF900 && code < 0xFB00) ||
                    (code >= 0xFE30 && code < 0xFE70) || (code >= 0xFF00 && code < 0xFF61) ||
                    (code >= 0x1F300 && code < 0x1FB00) || (code >= 0x20000 && code < 0x40000);
  return wide ? 2 : 1;
}

}  // namespace

std::size_t columnsOf(std::string_view text) {
  std::size_t columns = 0;
  while (!text.empty()) {
    const auto [code, bytes] = firstCharacter(text);
    columns += columnsOf(code);
    text.remove_prefix(bytes.size());
  }
  return columns;
}

std::string cutTo(std::string_view text, std::size_t columns) {
  if (columnsOf(text) <= columns) return std::string(text);
  constexpr std::string_view kCut = "...";
  std::size_t room = columns > kCut.size() ? columns - kCut.size() : 0;
  std::size_t length = 0;
  while (length < text.size()) {
    const auto [code, bytes] = firstCharacter(text.substr(length));
    if (columnsOf(code) > room) break;
    room -= columnsOf(code);
    length += bytes.size();
  }
  return std::string(text.substr(0, length)).append(kCut.substr(0, columns));
}

std::string TextPage::styled(std::string_view text, std::string_view code) const {
  if (!style_.colour) return std::string(text);
  return "\033[" + std::string(code) + "m" + std::string(text) + "\033[0m";
}

void TextPage::heading(std::string_view title) {
  if (!text_.empty()) text_ += '\n';
  text_ += styled(safeText(title), kBold) + "\n";
}

void TextPage::sentence(std::string_view text) {
  const std::string safe = safeText(text);
  std::string_view rest = safe;
  const std::size_t room = std::max<std::size_t>(style_.width, 20) - kMargin;
  std::string line;
  const auto end = [&] {
    text_.append(kMargin, ' ').append(line).append("\n");
    line.clear();
  };
  while (!rest.empty()) {
    const std::size_t blank = std::min(rest.find(' '), rest.size());
    const std::string word = cutTo(rest.substr(0, blank), room);
    rest.remove_prefix(std::min(blank + 1, rest.size()));
    if (!line.empty() && columnsOf(line) + 1 + columnsOf(word) > room) end();
    if (!line.empty()) line += ' ';
    line += word;
  }
  if (!line.empty()) end();
}

void TextPage::table(const std::vector<Column>& all, const std::vector<Row>& allRows) {
  if (allRows.empty()) return;
  std::vector<Column> columns;
  std::vector<Row> rows(allRows.size());
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (std::ranges::all_of(allRows, [&](const Row& row) { return row[i].empty(); })) continue;
    columns.push_back(all[i]);
    for (std::size_t r = 0; r < rows.size(); ++r) rows[r].push_back(allRows[r][i]);
  }
  if (columns.empty()) return;
  std::vector<Row> cells;
  Row titles;
  for (const Column& column : columns) titles.emplace_back(column.title);
  const bool titled = std::ranges::any_of(titles, [](const auto& title) { return !title.empty(); });
  if (titled) cells.push_back(titles);
  for (const Row& row : rows) {
    Row& safe = cells.emplace_back();
    for (const std::string& cell : row) safe.push_back(safeText(cell));
  }
  std::vector<std::size_t> widths(columns.size());
  for (const Row& row : cells) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], columnsOf(row[i]));
    }
  }
  std::size_t whole = kMargin + kGap.size() * (columns.size() - 1);
  for (const std::size_t width : widths) whole += width;
  // Shortens the widest flexible column until the line fits.
  while (!style_.whole && whole > style_.width) {
    std::size_t widest = columns.size();
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (columns[i].flexible && widths[i] > 8 &&
          (widest == columns.size() || widths[i] > widths[widest])) {
        widest = i;
      }
    }
    if (widest == columns.size()) break;
    --widths[widest];
    --whole;
  }
  for (std::size_t r = 0; r < cells.size(); ++r) {
    std::string line(kMargin, ' ');
    for (std::size_t i = 0; i < cells[r].size(); ++i) {
      const std::string cell = cutTo(cells[r][i], widths[i]);
      const std::string space(widths[i] - columnsOf(cell), ' ');
      if (i > 0) line += kGap;
      line += columns[i].align == Align::Right ? space + cell : cell + space;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text_ += (titled && r == 0 ? styled(line, kDim) : line) + "\n";
  }
}

}  // namespace zorva
