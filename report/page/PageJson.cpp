// SPDX-License-Identifier: Apache-2.0
#include "report/page/PageJson.h"

#include <array>
#include <charconv>
#include <cmath>

#include "platform/base/Text.h"

namespace zorva {

void appendPageText(std::string& to, std::string_view text) {
  to += '"';
  for (const char byte : safeText(text)) {
    // "<" and ">" could end the element or begin a comment in it.
    if (byte == '"' || byte == '\\') {
      to += '\\';
      to += byte;
    } else if (byte == '<' || byte == '>' || byte == '&') {
      to += formatText("\\u%04x", static_cast<unsigned>(byte));
    } else {
      to += byte;
    }
  }
  to += '"';
}

void appendPageNumber(std::string& to, double number) {
  std::array<char, 32> text{};
  if (!std::isfinite(number)) {
    to += "null";
  } else if (number == std::trunc(number) && std::abs(number) < 1e15) {
    to += std::to_string(static_cast<long long>(number));
  } else {
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number,
                                            std::chars_format::general, 7);
    to.append(text.data(), error == std::errc() ? end : text.data());
  }
}

}  // namespace zorva
