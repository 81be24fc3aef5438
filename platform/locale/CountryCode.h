// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zorva {

/// The parts of a locale identifier: "zh_Hant_TW.UTF-8" has the language "zh", the country "TW" and
/// no variant. A missing part is empty.
struct LocaleParts {
  std::string_view language;
  std::string_view country;  ///< two letters, or three digits for a region of the world
  std::string_view variant;  ///< the text after the country, without an encoding
};
LocaleParts localeParts(std::string_view locale);

/// The country of a locale identifier, or nothing if it has none.
std::optional<std::string> countryCode(const std::string& locale);

}  // namespace zorva
