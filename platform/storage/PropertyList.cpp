// SPDX-License-Identifier: Apache-2.0
#include "platform/storage/PropertyList.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr int kDeepest = 64;
constexpr const char* kEmpty =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<plist version=\"1.0\"><dict/></plist>\n";
constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

pugi::xml_node firstElement(pugi::xml_node parent) {
  return parent.find_child([](pugi::xml_node child) { return child.type() == pugi::node_element; });
}

pugi::xml_node nextElement(pugi::xml_node node) {
  do {
    node = node.next_sibling();
  } while (node && node.type() != pugi::node_element);
  return node;
}

bool isNamed(pugi::xml_node node, std::string_view name) {
  return node.name() == name;
}

// All text in the element: character data may be divided by comments and CDATA sections.
std::string textOf(pugi::xml_node element) {
  std::string text;
  for (pugi::xml_node child : element.children()) {
    if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
      text += child.value();
  }
  return text;
}

// Normalises line ends as XML requires. After this, a carriage return is one that was written as a
// reference.
std::string withPlainLineEnds(std::string_view text) {
  std::string plain;
  plain.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    plain += text[i] == '\r' ? '\n' : text[i];
  }
  return plain;
}

std::string withoutBlanks(std::string text) {
  std::erase_if(text, [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; });
  return text;
}

// The whole text as a number, or nothing.
Value integerOf(std::string text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.erase(0, 1);
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.erase(0, 2);
  std::uint64_t magnitude = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, magnitude, hexadecimal ? 16 : 10);
  if (stop != end || error == std::errc::invalid_argument) return {};
  constexpr auto kMaximum = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  const bool tooLarge = error == std::errc::result_out_of_range || magnitude > kMaximum;
  if (tooLarge && negative) return std::numeric_limits<std::int64_t>::min();
  const auto held = static_cast<std::int64_t>(tooLarge ? kMaximum : magnitude);
  return negative ? -held : held;
}

Value realOf(std::string text) {
  if (text.starts_with('+')) text.erase(0, 1);
  const auto number = parseReal(text);
  return number ? Value(*number) : Value();
}

Value dateOf(const std::string& text) {
  int year, month, day, hour, minute, second, length = 0;
  if (std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2dZ%n", &year, &month, &day, &hour, &minute,
                  &second, &length) != 6 ||
      static_cast<std::size_t>(length) != text.size()) {
    return {};
  }
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  const bool inRange = year >= 0 && month > 0 && day > 0 && hour >= 0 && hour < 24 && minute >= 0 &&
                       minute < 60 && second >= 0 && second < 60;
  if (!date.ok() || !inRange) return {};
  return Date(std::chrono::sys_days(date) + std::chrono::hours(hour) +
              std::chrono::minutes(minute) + std::chrono::seconds(second));
}

Value dataOf(std::string text) {
  while (text.ends_with('=')) text.pop_back();
  Value::Data data;
  std::uint32_t bits = 0;
  int count = 0;
  for (char c : text) {
    const std::size_t digit = kBase64.find(c);
    if (digit == std::string_view::npos) return {};
    bits = (bits << 6 | static_cast<std::uint32_t>(digit)) & 0xFFFF;
    count += 6;
    if (count >= 8) {
      count -= 8;
      data.push_back(static_cast<std::uint8_t>(bits >> count));
    }
  }
  return data;
}

Value valueOf(pugi::xml_node element) {
  if (isNamed(element, "string")) return textOf(element);
  if (isNamed(element, "true")) return true;
  if (isNamed(element, "false")) return false;
  if (isNamed(element, "integer")) return integerOf(withoutBlanks(textOf(element)));
  if (isNamed(element, "real")) return realOf(withoutBlanks(textOf(element)));
  if (isNamed(element, "date")) return dateOf(withoutBlanks(textOf(element)));
  if (isNamed(element, "data")) return dataOf(withoutBlanks(textOf(element)));
  if (isNamed(element, "array")) {
    Value::List list;
    for (auto item = firstElement(element); item; item = nextElement(item)) {
      list.push_back(valueOf(item));
    }
    return list;
  }
  if (isNamed(element, "dict")) {
    Dictionary dictionary;
    for (auto key = firstElement(element); key; key = nextElement(key)) {
      const pugi::xml_node value = nextElement(key);
      if (isNamed(key, "key") && value) dictionary.set(textOf(key), valueOf(value));
      if (value) key = value;
    }
    return dictionary;
  }
  return {};
}

std::string dateText(Date date) {
  const auto days = std::chrono::floor<std::chrono::days>(date);
  const std::chrono::year_month_day day{days};
  const std::chrono::hh_mm_ss time{std::chrono::floor<std::chrono::seconds>(date - days)};
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(day.year()),
                static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()));
  return text;
}

std::string dataText(const Value::Data& data) {
  std::string text;
  for (std::size_t i = 0; i < data.size(); i += 3) {
    std::uint32_t bits = 0;
    for (std::size_t k = 0; k < 3; ++k) bits = bits << 8 | (i + k < data.size() ? data[i + k] : 0);
    for (std::size_t k = 0; k < 4; ++k) {
      text += i + k > data.size() ? '=' : kBase64[bits >> (18 - 6 * k) & 63];
    }
  }
  return text;
}

pugi::xml_node addElement(pugi::xml_node parent, pugi::xml_node after, const char* name) {
  return after ? parent.insert_child_after(name, after) : parent.append_child(name);
}

// Adds the value as the element after `after`, or as the last one. An empty value has no element.
pugi::xml_node addValue(pugi::xml_node parent, pugi::xml_node after, const Value& value) {
  const auto add = [&](const char* kind, const std::string& text) {
    pugi::xml_node element = addElement(parent, after, kind);
    element.text().set(text.c_str());
    return element;
  };
  if (value.isNothing()) return {};
  if (value.isBoolean()) return addElement(parent, after, value.boolean() ? "true" : "false");
  if (value.isInteger()) return add("integer", std::to_string(value.integer()));
  if (value.isReal()) {
    const double number = value.real();
    if (std::isnan(number)) return add("real", "nan");
    if (std::isinf(number)) return add("real", number < 0 ? "-infinity" : "+infinity");
    return add("real", value.description());
  }
  if (const auto text = value.text()) return add("string", *text);
  if (const auto date = value.date()) return add("date", dateText(*date));
  if (const auto* data = value.data()) return add("data", dataText(*data));
  if (const auto* list = value.list()) {
    pugi::xml_node element = addElement(parent, after, "array");
    for (const Value& item : *list) addValue(element, {}, item);
    return element;
  }
  pugi::xml_node element = addElement(parent, after, "dict");
  for (const auto& [key, item] : *value.dictionary()) {
    if (item.isNothing()) continue;
    element.append_child("key").text().set(key.c_str());
    addValue(element, {}, item);
  }
  return element;
}

// Alternating keys and values, and not nested so deeply that recursion would need much stack.
bool isWellFormed(pugi::xml_node root) {
  struct DepthWalker : pugi::xml_tree_walker {
    bool for_each(pugi::xml_node&) override { return depth() < kDeepest; }
  } walker;
  if (!isNamed(root, "dict") || !root.traverse(walker)) return false;
  for (auto key = firstElement(root); key; key = nextElement(key)) {
    if (!isNamed(key, "key")) return false;
    key = nextElement(key);
    if (!key || isNamed(key, "key")) return false;
  }
  return true;
}

pugi::xml_node rootOf(const pugi::xml_document& document) {
  return firstElement(document.child("plist"));
}

// The first element of the key with this name, from the given one on.
pugi::xml_node findKey(pugi::xml_node key, std::string_view name) {
  while (key && textOf(key) != name) key = nextElement(nextElement(key));
  return key;
}

}  // namespace

PropertyList::PropertyList() : document_(std::make_unique<pugi::xml_document>()) {
  document_->load_string(kEmpty, pugi::parse_full);
}

std::optional<PropertyList> PropertyList::parse(std::string_view text) {
  PropertyList list;
  const std::string plain = withPlainLineEnds(text);
  const auto result = list.document_->load_buffer(plain.data(), plain.size(),
                                                  pugi::parse_full | pugi::parse_ws_pcdata_single,
                                                  pugi::encoding_utf8);
  if (!result || !isWellFormed(rootOf(*list.document_))) return std::nullopt;
  return list;
}

Value PropertyList::value(std::string_view key) const {
  const pugi::xml_node found = findKey(firstElement(rootOf(*document_)), key);
  return found ? valueOf(nextElement(found)) : Value();
}

void PropertyList::set(const std::string& key, const Value& value) {
  pugi::xml_node root = rootOf(*document_);
  pugi::xml_node place = findKey(firstElement(root), key);
  pugi::xml_node stale = place;
  if (!value.isNothing()) {
    if (place) {
      root.remove_child(nextElement(place));
    } else {
      place = root.append_child("key");
      place.text().set(key.c_str());
    }
    // A file edited manually may contain the key again, and other readers may use the last one.
    stale = findKey(nextElement(addValue(root, place, value)), key);
  }
  while (stale) {
    const pugi::xml_node old = nextElement(stale);
    const pugi::xml_node next = findKey(nextElement(old), key);
    root.remove_child(old);
    root.remove_child(stale);
    stale = next;
  }
}

std::string PropertyList::text() const {
  std::ostringstream stream;
  document_->save(stream, "\t", pugi::format_default, pugi::encoding_utf8);
  // The library writes carriage returns as they are, and they would be read as line ends.
  std::string text = stream.str();
  for (std::size_t at = 0; (at = text.find('\r', at)) != text.npos;) text.replace(at, 1, "&#13;");
  return text;
}

}  // namespace zorva
