// SPDX-License-Identifier: Apache-2.0
#include "platform/base/Text.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace zorva {
namespace {

// C0 and C1 control characters, DEL, the line and paragraph separators at which viewers break lines
// (U+2028, U+2029), and the marks that change the reading direction, so that a line is displayed in
// another order (U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069).
bool isControl(std::string_view sequence) {
  const auto lead = static_cast<std::uint8_t>(sequence[0]);
  if (sequence.size() == 1) return lead < 0x20 || lead == 0x7F;
  if (sequence.size() == 2) return lead == 0xC2 && static_cast<std::uint8_t>(sequence[1]) < 0xA0;
  if (sequence.size() != 3 || lead != 0xE2) return false;
  const auto second = static_cast<std::uint8_t>(sequence[1]);
  const auto third = static_cast<std::uint8_t>(sequence[2]);
  return (second == 0x80 && (third == 0x8E || third == 0x8F || (third >= 0xA8 && third <= 0xAE))) ||
         (second == 0x81 && third >= 0xA6 && third <= 0xA9);
}

// The characters with the Unicode property White_Space.
bool isWhiteSpace(char32_t code) {
  return (code >= 0x09 && code <= 0x0D) || code == 0x20 || code == 0x85 || code == 0xA0 ||
         code == 0x1680 || (code >= 0x2000 && code <= 0x200A) || code == 0x2028 || code == 0x2029 ||
         code == 0x202F || code == 0x205F || code == 0x3000;
}

// The number of bytes of the white space character at the text's end, 0 if there is none. A lead
// byte never occurs inside another sequence, so the end can be read without the preceding bytes.
std::size_t whiteSpaceAtEnd(std::string_view text) {
  for (std::size_t length = 1; length <= std::min<std::size_t>(3, text.size()); ++length) {
    const Character last = firstCharacter(text.substr(text.size() - length));
    if (last.bytes.size() == length && isWhiteSpace(last.code)) return length;
  }
  return 0;
}

// The whole text is a number. The locale's decimal point is ".": no program calls setlocale().
double toDouble(std::string_view text) {
  return std::strtod(std::string(text).c_str(), nullptr);
}

#if !defined(__cpp_lib_to_chars)
// The length of the number at the start of the text: what std::from_chars would read.
std::size_t realLength(std::string_view text) {
  std::size_t at = text.starts_with('-') ? 1 : 0;
  const auto digits = [&] {
    const std::size_t first = at;
    while (at < text.size() && isDigit(text[at])) ++at;
    return at - first;
  };
  for (const std::string_view word : {"infinity", "inf", "nan"}) {
    const std::string_view there = text.substr(at, word.size());
    if (std::equal(there.begin(), there.end(), word.begin(), word.end(),
                   [](char byte, char small) { return (byte | 0x20) == small; })) {
      return at + word.size();
    }
  }
  std::size_t count = digits();
  if (text.substr(at, 1) == ".") {
    ++at;
    count += digits();
  }
  if (count == 0) return 0;
  const std::size_t mantissa = at;
  if (at == text.size() || (text[at] | 0x20) != 'e') return mantissa;
  ++at;
  if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
  return digits() > 0 ? at : mantissa;
}
#endif

// A buffer that is written from its start. Once something did not fit, nothing more is written.
class Line {
 public:
  bool add(std::string_view piece) {
    if (piece.size() > sizeof bytes_ - size_) return false;
    std::memcpy(bytes_ + size_, piece.data(), piece.size());
    size_ += piece.size();
    return true;
  }
  // Uses to_chars, which agrees with printf but for NaN: LLVM's writes "-nan(ind)".
  template <typename... Number>
  bool addNumber(Number... number) {
    const auto [end, error] = std::to_chars(bytes_ + size_, bytes_ + sizeof bytes_, number...);
    if (error != std::errc()) return false;
    size_ = static_cast<std::size_t>(end - bytes_);
    return true;
  }
  std::string_view text() const { return {bytes_, size_}; }

 private:
  char bytes_[512];
  std::size_t size_ = 0;
};

// Most formats contain only %d, %u, %s and conversions such as %.2f; handling them here takes a
// quarter of printf's time. Returns false, with the line incomplete, if there is any other
// conversion or no space left.
bool addPlain(Line& line, const char* format, va_list arguments) {
  for (;;) {
    const char* percent = strchrnul(format, '%');
    if (!line.add({format, static_cast<std::size_t>(percent - format)})) return false;
    if (*percent == '\0') return true;
    bool added = false;
    switch (percent[1]) {
      case 'd':
        added = line.addNumber(va_arg(arguments, int));
        break;
      case 'u':
        added = line.addNumber(va_arg(arguments, unsigned));
        break;
      case 's':
        if (const char* const text = va_arg(arguments, const char*)) added = line.add(text);
        break;
      case '%':
        added = line.add("%");
        break;
      case '.':
        if (!isDigit(percent[2]) || percent[3] != 'f') return false;
        if (const double number = va_arg(arguments, double); !std::isnan(number)) {
          added = line.addNumber(number, std::chars_format::fixed, percent[2] - '0');
        }
        percent += 2;
        break;
      default:
        break;
    }
    if (!added) return false;
    format = percent + 2;
  }
}

}  // namespace

std::string formatText(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::string text = formatArguments(format, arguments);
  va_end(arguments);
  return text;
}

std::string formatArguments(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  Line line;
  const bool plain = addPlain(line, format, again);
  va_end(again);
  if (plain) return std::string(line.text());
  va_copy(again, arguments);
  char shorter[256];  // large enough for nearly all texts, so that they are formatted only once
  const int length = std::vsnprintf(shorter, sizeof shorter, format, arguments);
  std::string text;
  if (length > 0) {
    const auto size = static_cast<std::size_t>(length);
    if (size < sizeof shorter) {
      text.assign(shorter, size);
    } else {
      text.resize(size);
      std::vsnprintf(text.data(), size + 1, format, again);
    }
  }
  va_end(again);
  return text;
}

std::size_t sequenceLength(std::string_view bytes) {
  const auto at = [&](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
  const auto continues = [&](std::size_t i) { return i < bytes.size() && (at(i) & 0xC0) == 0x80; };
  const std::uint8_t lead = at(0);
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4 || !continues(1)) return 0;
  if (lead < 0xE0) return 2;
  const std::uint8_t second = at(1);
  if (lead < 0xF0) {
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F)) return 0;
    return continues(2) ? 3 : 0;
  }
  if ((lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) return 0;
  return continues(2) && continues(3) ? 4 : 0;
}

Character firstCharacter(std::string_view text) {
  const auto lead = static_cast<std::uint8_t>(text[0]);
  if (lead < 0x80) return {lead, text.substr(0, 1)};
  const std::size_t length = sequenceLength(text);
  if (length == 0) return {0xFFFD, text.substr(0, 1)};
  // The lead byte of n bytes has n bits set and one clear, then the code's first bits.
  char32_t code = lead & (0x7F >> length);
  for (std::size_t i = 1; i < length; ++i) {
    code = code << 6 | (static_cast<std::uint8_t>(text[i]) & 0x3F);
  }
  return {code, text.substr(0, length)};
}

std::string safeText(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const std::size_t length = sequenceLength(bytes);
    const std::string_view sequence = bytes.substr(0, length == 0 ? 1 : length);
    if (length == 0) {
      text += "\uFFFD";
    } else if (isControl(sequence)) {
      for (char byte : sequence) text += formatText("\\x%02x", static_cast<std::uint8_t>(byte));
    } else {
      text += sequence;
    }
    bytes.remove_prefix(sequence.size());
  }
  return text;
}

std::string textOrNull(const std::optional<std::string>& text) {
  return text.value_or("(null)");
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty()) {
    const Character first = firstCharacter(text);
    if (!isWhiteSpace(first.code)) break;
    text.remove_prefix(first.bytes.size());
  }
  while (const std::size_t length = whiteSpaceAtEnd(text)) text.remove_suffix(length);
  return text;
}

#if defined(__cpp_lib_to_chars)
std::optional<RealAtStart> realAtStart(std::string_view text) {
  RealAtStart real{};
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), real.number);
  if (error == std::errc::invalid_argument) return std::nullopt;
  real.bytes = static_cast<std::size_t>(stop - text.data());
  real.inRange = error == std::errc();
  if (!real.inRange) real.number = toDouble(text.substr(0, real.bytes));
  return real;
}
#else
std::optional<RealAtStart> realAtStart(std::string_view text) {
  RealAtStart real{};
  real.bytes = realLength(text);
  if (real.bytes == 0) return std::nullopt;
  errno = 0;
  real.number = toDouble(text.substr(0, real.bytes));
  // A number near zero that is rounded to fewer digits also sets the error number.
  real.inRange = errno != ERANGE || (real.number != 0.0 && std::isfinite(real.number));
  return real;
}
#endif

std::optional<double> parseReal(std::string_view text) {
  const auto real = realAtStart(text);
  return real && real->inRange && real->bytes == text.size() ? std::optional(real->number)
                                                             : std::nullopt;
}

std::string_view cutToBytes(std::string_view text, std::size_t max) {
  if (text.size() <= max) return text;
  for (std::size_t back = 1; back <= 3 && back <= max; ++back) {
    if (sequenceLength(text.substr(max - back)) > back) return text.substr(0, max - back);
  }
  return text.substr(0, max);
}

}  // namespace zorva
