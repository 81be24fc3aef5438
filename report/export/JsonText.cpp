// SPDX-License-Identifier: Apache-2.0
#include "report/export/JsonText.h"

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

}  // namespace

bool appendJsonText(std::string_view text, std::string& to) {
  bool whole = true;
  to += '"';
  std::size_t plain = 0;  // start of what is copied unchanged
  std::size_t at = 0;
  const auto copy = [&] { to.append(text, plain, at - plain); };
  while (at < text.size()) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\') {
      ++at;
      continue;
    }
    const std::size_t length = byte < 0x80 ? 1 : sequenceLength(text.substr(at));
    if (length > 1) {
      at += length;
      continue;
    }
    copy();
    if (length == 0 || byte == 0) {
      to += kReplacement;
      whole = false;
    } else if (byte == '\n') {
      to += "\\n";
    } else if (byte == '"' || byte == '\\') {
      to.append(1, '\\').append(1, static_cast<char>(byte));
    } else {
      to += formatText("\\u%04x", static_cast<unsigned>(byte));
    }
    plain = ++at;
  }
  copy();
  to += '"';
  return whole;
}

}  // namespace zorva
