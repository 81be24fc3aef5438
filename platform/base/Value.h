// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/base/Date.h"

namespace zorva {

class Dictionary;

/// A value as the platform's services return it: nothing, boolean, integer, real, text, date, data,
/// list or dictionary.
///
/// The conversions never fail. A value that is missing or cannot be converted becomes false, 0 or
/// 0.0, as readers of registry and preference values expect.
class Value {
 public:
  using Data = std::vector<std::uint8_t>;
  using List = std::vector<Value>;

  Value() = default;
  Value(bool value) : content_(value) {}
  Value(int value) : content_(std::int64_t{value}) {}
  Value(std::int64_t value) : content_(value) {}
  Value(double value) : content_(value) {}
  Value(const char* value) : content_(std::string(value)) {}
  Value(std::string value) : content_(std::move(value)) {}
  Value(Date value) : content_(value) {}
  Value(Data value) : content_(std::move(value)) {}
  Value(List value) : content_(std::move(value)) {}
  Value(Dictionary value);

  bool isNothing() const { return std::holds_alternative<std::monostate>(content_); }
  bool isBoolean() const { return std::holds_alternative<bool>(content_); }
  bool isInteger() const { return std::holds_alternative<std::int64_t>(content_); }
  bool isReal() const { return std::holds_alternative<double>(content_); }

  /// True for true, a number other than 0, and the texts "true", "yes" and "on" in any case, or a
  /// text that starts with a number other than 0.
  bool boolean() const;
  /// A real is truncated and clamped to the 64-bit range (NaN is 0); a text is read as a decimal
  /// number up to its first other character; booleans are 1 and 0.
  std::int64_t integer() const;
  /// The low 32 bits of integer() as a signed number.
  std::int32_t integer32() const { return static_cast<std::int32_t>(integer()); }
  /// Integers, booleans and texts that start with a number are converted.
  double real() const;
  /// Empty unless the value is a text.
  std::optional<std::string> text() const;
  std::optional<Date> date() const;
  const Data* data() const { return std::get_if<Data>(&content_); }
  const List* list() const { return std::get_if<List>(&content_); }
  const Dictionary* dictionary() const;

  /// The human-readable value: "(null)" for nothing, 1 and 0 for booleans, the shortest decimal
  /// form that reads back as the same real, "2026-11-16 14:07:16 +0000" for dates, <0a1b> for data,
  /// "(a, b)" for lists, "{a = 1; b = 2;}" for dictionaries. Texts are unchanged.
  std::string description() const;
  /// The same over several lines: each entry of a dictionary and each item of a list on its own
  /// line, indented by four blanks per level. Keys and texts pass safeText, so that every newline
  /// belongs to the layout.
  std::string dump() const;

  bool operator==(const Value& other) const;

 private:
  std::variant<std::monostate, bool, std::int64_t, double, std::string, Date, Data, List,
               std::shared_ptr<const Dictionary>>
      content_;
};

/// Text keys and their values, in the order in which they were first set.
class Dictionary {
 public:
  using Entry = std::pair<std::string, Value>;

  Dictionary() = default;
  Dictionary(std::initializer_list<Entry> entries);

  /// The value of the key, or nothing.
  const Value& operator[](std::string_view key) const;
  bool contains(std::string_view key) const;
  /// Sets or replaces the value; a replaced key keeps its position.
  void set(std::string_view key, Value value);
  void remove(std::string_view key);

  bool empty() const { return entries_.empty(); }
  std::size_t size() const { return entries_.size(); }
  auto begin() const { return entries_.begin(); }
  auto end() const { return entries_.end(); }
  bool operator==(const Dictionary&) const = default;

 private:
  std::vector<Entry> entries_;
};

}  // namespace zorva
