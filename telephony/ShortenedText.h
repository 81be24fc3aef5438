// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/base/Text.h"

namespace zorva {

/// The UTF-8 text without its first `count` characters; empty if it has no more than these.
inline std::string_view withoutFirstCharacters(std::string_view text, std::size_t count) {
  for (; count > 0 && !text.empty(); --count) {
    text.remove_prefix(firstCharacter(text).bytes.size());
  }
  return text;
}

}  // namespace zorva
