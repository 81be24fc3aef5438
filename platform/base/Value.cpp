// SPDX-License-Identifier: Apache-2.0
#include "platform/base/Value.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

#include "platform/base/Text.h"

namespace zorva {
namespace {

template <class... Handlers>
struct Overloaded : Handlers... {
  using Handlers::operator()...;
};
template <class... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

// The start of the number at the beginning of the text, after blanks and one plus sign; the text's
// end if there is no number.
const char* numberStart(const std::string& text) {
  const char* first = text.data();
  const char* end = first + text.size();
  while (first != end && std::isspace(static_cast<unsigned char>(*first)) != 0) ++first;
  if (first != end && *first == '+') ++first;
  // "nan" and "info" do not start with a number, although realAtStart() accepts them.
  const char* digits = first != end && *first == '-' ? first + 1 : first;
  if (digits != end && *digits == '.') ++digits;
  const bool number = digits != end && isDigit(*digits);
  return number ? first : end;
}

std::int64_t leadingInteger(const std::string& text) {
  const char* first = numberStart(text);
  std::int64_t number = 0;
  auto [stop, error] = std::from_chars(first, text.data() + text.size(), number);
  if (error != std::errc::result_out_of_range) return number;
  return *first == '-' ? std::numeric_limits<std::int64_t>::min()
                       : std::numeric_limits<std::int64_t>::max();
}

double leadingReal(const std::string& text) {
  const char* first = numberStart(text);
  const auto real = realAtStart({first, text.data() + text.size()});
  return real ? real->number : 0.0;
}

std::int64_t wholePart(double number) {
  if (std::isnan(number)) return 0;
  // 2^63 is a double, the largest 64-bit integer is not.
  if (number >= 0x1p63) return std::numeric_limits<std::int64_t>::max();
  if (number < -0x1p63) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(number);
}

bool truthOf(const std::string& text) {
  std::string word = text;
  std::transform(word.begin(), word.end(), word.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return word == "true" || word == "yes" || word == "on" || leadingReal(text) != 0.0;
}

std::string describe(Date date) {
  const auto days = std::chrono::floor<std::chrono::days>(date);
  const std::chrono::year_month_day day{days};
  const std::chrono::hh_mm_ss time{std::chrono::floor<std::chrono::seconds>(date - days)};
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d +0000",
                static_cast<int>(day.year()), static_cast<unsigned>(day.month()),
                static_cast<unsigned>(day.day()), static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
  return text;
}

std::string describe(double number) {
  if (std::isnan(number)) return std::signbit(number) ? "-nan" : "nan";
  char text[40];
  auto [end, error] = std::to_chars(text, text + sizeof text, number);
  return {text, end};
}

std::string describe(const Value::Data& data) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text = "<";
  for (std::uint8_t byte : data) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text + ">";
}

std::string describe(const Value::List& list) {
  std::string text = "(";
  for (const Value& item : list) {
    if (text.size() > 1) text += ", ";
    text += item.description();
  }
  return text + ")";
}

std::string describe(const Dictionary& dictionary) {
  std::string text = "{";
  for (const auto& [key, value] : dictionary) {
    if (text.size() > 1) text += ' ';
    text += key + " = " + value.description() + ";";
  }
  return text + "}";
}

std::string dumpAt(const Value& value, std::size_t level) {
  const std::string margin(4 * level, ' ');
  const std::string inner(4 * (level + 1), ' ');
  if (const Dictionary* dictionary = value.dictionary()) {
    std::string text = "{\n";
    for (const auto& [key, item] : *dictionary) {
      text += inner + safeText(key) + " = " + dumpAt(item, level + 1) + ";\n";
    }
    return text + margin + "}";
  }
  if (const Value::List* list = value.list()) {
    std::string text = "(\n";
    for (const Value& item : *list) {
      text += inner + dumpAt(item, level + 1) + (&item != &list->back() ? ",\n" : "\n");
    }
    return text + margin + ")";
  }
  return safeText(value.description());
}

const Value kNothing;

}  // namespace

Value::Value(Dictionary value) : content_(std::make_shared<const Dictionary>(std::move(value))) {}

bool Value::boolean() const {
  return std::visit(
      Overloaded{[](bool v) { return v; }, [](std::int64_t v) { return v != 0; },
                 [](double v) { return v != 0.0; }, [](const std::string& v) { return truthOf(v); },
                 [](const auto&) { return false; }},
      content_);
}

std::int64_t Value::integer() const {
  return std::visit(
      Overloaded{[](bool v) { return std::int64_t{v}; }, [](std::int64_t v) { return v; },
                 [](double v) { return wholePart(v); },
                 [](const std::string& v) { return leadingInteger(v); },
                 [](const auto&) { return std::int64_t{0}; }},
      content_);
}

double Value::real() const {
  return std::visit(
      Overloaded{[](bool v) { return v ? 1.0 : 0.0; },
                 [](std::int64_t v) { return static_cast<double>(v); }, [](double v) { return v; },
                 [](const std::string& v) { return leadingReal(v); },
                 [](const auto&) { return 0.0; }},
      content_);
}

std::optional<std::string> Value::text() const {
  if (const auto* text = std::get_if<std::string>(&content_)) return *text;
  return std::nullopt;
}

std::optional<Date> Value::date() const {
  if (const auto* date = std::get_if<Date>(&content_)) return *date;
  return std::nullopt;
}

const Dictionary* Value::dictionary() const {
  const auto* held = std::get_if<std::shared_ptr<const Dictionary>>(&content_);
  return held != nullptr ? held->get() : nullptr;
}

std::string Value::description() const {
  return std::visit(
      Overloaded{[](std::monostate) { return std::string("(null)"); },
                 [](bool v) { return std::string(v ? "1" : "0"); },
                 [](std::int64_t v) { return std::to_string(v); },
                 [](const std::string& v) { return v; },
                 [](const std::shared_ptr<const Dictionary>& v) { return describe(*v); },
                 [](const auto& v) { return describe(v); }},
      content_);
}

std::string Value::dump() const {
  return dumpAt(*this, 0);
}

bool Value::operator==(const Value& other) const {
  const Dictionary* mine = dictionary();
  const Dictionary* theirs = other.dictionary();
  if (mine != nullptr && theirs != nullptr) return *mine == *theirs;
  return content_ == other.content_;
}

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
  for (const auto& [key, value] : entries) set(key, value);
}

const Value& Dictionary::operator[](std::string_view key) const {
  for (const auto& [name, value] : entries_) {
    if (name == key) return value;
  }
  return kNothing;
}

bool Dictionary::contains(std::string_view key) const {
  return std::any_of(entries_.begin(), entries_.end(),
                     [&](const Entry& entry) { return entry.first == key; });
}

void Dictionary::set(std::string_view key, Value value) {
  for (auto& [name, held] : entries_) {
    if (name == key) {
      held = std::move(value);
      return;
    }
  }
  entries_.emplace_back(std::string(key), std::move(value));
}

void Dictionary::remove(std::string_view key) {
  std::erase_if(entries_, [&](const Entry& entry) { return entry.first == key; });
}

}  // namespace zorva
