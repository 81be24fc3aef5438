// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <cstdarg>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace zorva {

/// printf into a string. The format is always one of our own literals; untrusted bytes are
/// arguments.
std::string formatText(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// The same for a function that has a format parameter itself.
std::string formatArguments(const char* format, va_list arguments)
    __attribute__((format(printf, 1, 0)));

/// Length of the well-formed UTF-8 sequence at the start of the bytes, which are not empty; 0 if
/// there is none. Overlong forms, surrogates and code points above U+10FFFF are not well-formed.
std::size_t sequenceLength(std::string_view bytes);

struct Character {
  char32_t code;           ///< U+FFFD for a byte that is not part of well-formed UTF-8
  std::string_view bytes;  ///< its sequence, or that byte
};

/// The character at the start of a text, which is not empty.
Character firstCharacter(std::string_view text);

/// Untrusted bytes, made safe for a line of text: control characters (including newlines and marks
/// that change the reading direction) become "\xNN" with two lower-case hexadecimal digits, and
/// each byte that is not part of well-formed UTF-8 becomes U+FFFD. Well-formed printable text is
/// unchanged.
std::string safeText(std::string_view bytes);

/// The text of an object field: "(null)" if it is absent.
std::string textOrNull(const std::optional<std::string>& text);

/// Without surrounding white space as defined by Unicode: blanks of any width, tabs and line ends.
std::string_view trimmed(std::string_view text);

/// Whether the byte is one of '0' to '9'.
constexpr bool isDigit(char byte) {
  return byte >= '0' && byte <= '9';
}

/// The text as an integer in the base, without blanks, "0x" or a plus sign; nothing if it contains
/// anything else or is out of the type's range.
template <typename Number>
std::optional<Number> parseNumber(std::string_view text, int base = 10) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

struct RealAtStart {
  double number;      ///< infinite or zero, with its sign, if no double can hold it
  std::size_t bytes;  ///< its length in the text
  bool inRange;
};

/// The real number that the text begins with, without blanks or a plus sign before it: decimal,
/// "inf" or "nan". Nothing if there is none. Not every C++ library's std::from_chars reads reals.
std::optional<RealAtStart> realAtStart(std::string_view text);

/// The text as a real number; nothing if it contains anything else or no double can hold it.
std::optional<double> parseReal(std::string_view text);

/// The first bytes of the text, at most `max`, without a character of which only a part fits.
std::string_view cutToBytes(std::string_view text, std::size_t max);

/// "yes" or "no".
inline const char* yesOrNo(bool value) {
  return value ? "yes" : "no";
}

/// "on" or "off".
inline const char* onOrOff(bool value) {
  return value ? "on" : "off";
}

}  // namespace zorva
