// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace zorva {

/// The UTF-8 text without its first `count` characters; empty if it has no more than these.
inline std::string_view withoutFirstCharacters(std::string_view text, std::size_t count) {
  const auto continues = [&](std::size_t i) {
    return (static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80U;
  };
  std::size_t start = 0;
  for (; count > 0 && start < text.size(); --count) {
    ++start;
    while (start < text.size() && continues(start)) ++start;
  }
  return text.substr(start);
}

}  // namespace zorva
