// SPDX-License-Identifier: Apache-2.0
#include "platform/locale/CountryCode.h"

#include <algorithm>

namespace zorva {
namespace {

bool isCountry(std::string_view part) {
  const auto all = [&](char first, char last) {
    return std::all_of(part.begin(), part.end(), [&](char c) { return c >= first && c <= last; });
  };
  return (part.size() == 2 && all('A', 'Z')) || (part.size() == 3 && all('0', '9'));
}

// Removes a part from the start, including its delimiter.
std::string_view nextPart(std::string_view& rest) {
  const std::size_t end = std::min(rest.find_first_of("_-"), rest.size());
  const std::string_view part = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return part;
}

}  // namespace

LocaleParts localeParts(std::string_view locale) {
  std::string_view rest = locale.substr(0, locale.find_first_of(".@"));
  LocaleParts parts;
  parts.language = nextPart(rest);
  std::string_view behind = rest;
  if (nextPart(behind).size() == 4) rest = behind;  // a script, which comes before the country
  behind = rest;
  if (const std::string_view part = nextPart(behind); isCountry(part)) {
    parts.country = part;
    rest = behind;
  }
  parts.variant = rest;
  return parts;
}

std::optional<std::string> countryCode(const std::string& locale) {
  const std::string_view country = localeParts(locale).country;
  return country.empty() ? std::nullopt : std::optional<std::string>(country);
}

}  // namespace zorva
