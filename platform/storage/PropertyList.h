// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "platform/base/Value.h"

namespace zorva {

/// An XML property list whose root is a dictionary, edited in place: what is not set stays as it
/// was read, also kinds of values that are not known here.
class PropertyList {
 public:
  /// An empty dictionary.
  PropertyList();
  /// Nothing when the text is no property list, its root is no dictionary of keys and values, or it
  /// is nested more than 64 levels deep.
  static std::optional<PropertyList> parse(std::string_view text);

  /// The value of a key; nothing when it is missing or of an unknown kind. Reads "string",
  /// "integer" (decimal or "0x", held to the 64-bit range), "real", "true", "false", "date" (UTC,
  /// of the years 0 to 9999), "data" (base64), "array" and "dict".
  Value value(std::string_view key) const;

  /// Sets or replaces the value of a key, in the key's old place; nothing removes it. Dates are
  /// kept to the second, rounded down, and only those of the years 0 to 9999. A text ends at its
  /// first NUL byte, which XML cannot express.
  void set(const std::string& key, const Value& value);

  std::string text() const;

 private:
  std::unique_ptr<pugi::xml_document> document_;
};

}  // namespace zorva
