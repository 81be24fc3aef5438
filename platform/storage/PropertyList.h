// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "platform/base/Value.h"

namespace zorva {

/// An XML property list whose root is a dictionary, edited in place: everything that is not set
/// stays as it was read, including values of unknown kinds.
class PropertyList {
 public:
  /// An empty dictionary.
  PropertyList();
  /// Nothing if the text is not a property list, its root is not a dictionary, or it is nested more
  /// than 64 levels deep.
  static std::optional<PropertyList> parse(std::string_view text);

  /// The value of a key; nothing if it is missing or of an unknown kind. Reads "string", "integer"
  /// (decimal or "0x", clamped to the 64-bit range), "real", "true", "false", "date" (UTC, of the
  /// years 0 to 9999), "data" (base64), "array" and "dict".
  Value value(std::string_view key) const;

  /// Sets the value of a key, or replaces it in its place; an empty value removes it. Dates are
  /// rounded down to seconds, and only those of the years 0 to 9999 are stored. A text ends at its
  /// first NUL byte, which XML cannot express.
  void set(const std::string& key, const Value& value);

  std::string text() const;

 private:
  std::unique_ptr<pugi::xml_document> document_;
};

}  // namespace zorva
