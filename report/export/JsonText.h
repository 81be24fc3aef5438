// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <string>
#include <string_view>

namespace zorva {

/// Appends a JSON text. Returns false if bytes had to be replaced: they are not UTF-8, or a
/// character that some programs reject.
bool appendJsonText(std::string_view text, std::string& to);

/// Appends a number, which must be finite, in the shortest form that reads back as the same number.
template <typename Number>
void appendJsonNumber(Number number, std::string& to) {
  char digits[32];
  const auto result = std::to_chars(digits, digits + sizeof digits, number);
  to.append(digits, result.ptr);
}

}  // namespace zorva
