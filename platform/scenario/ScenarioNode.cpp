// SPDX-License-Identifier: Apache-2.0
#include "platform/scenario/ScenarioNode.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <optional>

#include "platform/base/Text.h"

namespace zorva {
namespace {

template <typename Number>
std::optional<Number> parseInteger(std::string_view text) {
  const bool negative = text.starts_with('-');
  std::string_view digits = text.substr(negative || text.starts_with('+') ? 1 : 0);
  int base = 10;
  if (digits.starts_with("0x") || digits.starts_with("0X")) {
    digits.remove_prefix(2);
    base = 16;
  }
  if (digits.starts_with('-')) return std::nullopt;
  const std::string signedDigits = (negative ? "-" : "") + std::string(digits);
  Number number = 0;
  const char* end = signedDigits.data() + signedDigits.size();
  const auto [stop, error] = std::from_chars(signedDigits.data(), end, number, base);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

// Requires digits and a point, so that texts such as "inf" and "nan" remain texts.
std::optional<double> realNumber(std::string_view text) {
  if (text.find_first_not_of("+-.0123456789eE") != std::string_view::npos) return std::nullopt;
  if (text.find_first_of("0123456789") == std::string_view::npos) return std::nullopt;
  if (text.starts_with('+')) text.remove_prefix(1);
  return parseReal(text);
}

// "hh:mm:ss", the seconds with or without a fraction.
std::optional<double> clockSeconds(const std::string& text) {
  unsigned hours = 0;
  unsigned minutes = 0;
  int read = 0;
  if (std::sscanf(text.c_str(), "%6u:%2u:%n", &hours, &minutes, &read) != 2 || read == 0) {
    return std::nullopt;
  }
  const auto rest = realNumber(std::string_view(text).substr(static_cast<std::size_t>(read)));
  if (!rest || *rest < 0 || *rest >= 60 || minutes >= 60 ||
      text.find_first_not_of("0123456789:.") != std::string::npos) {
    return std::nullopt;
  }
  return hours * 3600.0 + minutes * 60.0 + *rest;
}

// "1d2h3m4s": each unit at most once, the larger before the smaller.
std::optional<double> unitSeconds(std::string_view text) {
  constexpr std::pair<char, double> kUnits[] = {{'d', 86400}, {'h', 3600}, {'m', 60}, {'s', 1}};
  double seconds = 0;
  for (const auto& [unit, length] : kUnits) {
    const std::size_t end = text.find(unit);
    if (end == std::string_view::npos) continue;
    const auto count = realNumber(text.substr(0, end));
    if (!count || *count < 0) return std::nullopt;
    seconds += *count * length;
    text.remove_prefix(end + 1);
    if (text.empty()) return seconds;
  }
  return std::nullopt;
}

std::optional<Date> dateFrom(const std::string& text) {
  int year = 0;
  unsigned month = 0;
  unsigned day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int read = 0;
  if (text.size() != 19 || text.find_first_not_of("0123456789-: ") != std::string::npos ||
      std::sscanf(text.c_str(), "%4d-%2u-%2u %2d:%2d:%2d%n", &year, &month, &day, &hour, &minute,
                  &second, &read) != 6 ||
      read != 19) {
    return std::nullopt;
  }
  const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                         std::chrono::day(day)};
  if (!date.ok() || year < 1970 || year > 2199 || hour < 0 || hour > 23 || minute < 0 ||
      minute > 59 || second < 0 || second > 59) {
    return std::nullopt;
  }
  return Date(std::chrono::sys_days(date)) + std::chrono::hours(hour) +
         std::chrono::minutes(minute) + std::chrono::seconds(second);
}

std::optional<Value::Data> bytesFrom(std::string_view text) {
  Value::Data bytes;
  std::string digits;
  for (const char each : text) {
    if (each != ' ' && each != '\n') digits += each;
  }
  if (digits.size() % 2 != 0) return std::nullopt;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    std::uint8_t byte = 0;
    const char* end = digits.data() + i + 2;
    const auto [stop, error] = std::from_chars(digits.data() + i, end, byte, 16);
    if (error != std::errc() || stop != end) return std::nullopt;
    bytes.push_back(byte);
  }
  return bytes;
}

std::string inQuotes(std::string_view text) {
  constexpr std::size_t kShown = 60;
  if (text.size() > kShown) return '"' + safeText(text.substr(0, kShown)) + "...\"";
  return '"' + safeText(text) + '"';
}

std::string number(double value) {
  return Value(value).description();
}

}  // namespace

void ScenarioNode::refuse(const std::string& what) const {
  throw ScenarioError(
      formatText("%s:%d:%d: %s", safeText(source_->name).c_str(), line_, column_, what.c_str()));
}

const std::string& ScenarioNode::anyText() const {
  if (!isScalar()) refuse("write a text here");
  return scalar_;
}

const std::string& ScenarioNode::text() const {
  if (anyText().empty()) refuse("the text must not be empty");
  return scalar_;
}

bool ScenarioNode::boolean() const {
  if (!isScalar() || quoted_ || (scalar_ != "true" && scalar_ != "false")) {
    refuse("write true or false here");
  }
  return scalar_ == "true";
}

void ScenarioNode::mark() const {
  if (!isScalar() || quoted_ || scalar_ != "true") refuse("write true here, or leave the key out");
}

std::int64_t ScenarioNode::integer(std::int64_t least, std::int64_t most) const {
  const auto value = isScalar() && !quoted_ ? parseInteger<std::int64_t>(scalar_) : std::nullopt;
  if (!value || *value < least || *value > most) {
    refuse("write a whole number from " + std::to_string(least) + " to " + std::to_string(most) +
           " here");
  }
  return *value;
}

std::uint64_t ScenarioNode::natural() const {
  const auto value = isScalar() && !quoted_ ? parseInteger<std::uint64_t>(scalar_) : std::nullopt;
  if (!value) refuse("write a whole number from 0 to 18446744073709551615 here");
  return *value;
}

double ScenarioNode::number(double least, double most) const {
  const auto value = isScalar() && !quoted_ ? realNumber(scalar_) : std::nullopt;
  if (!value || *value < least || *value > most) {
    refuse("write a number from " + zorva::number(least) + " to " + zorva::number(most) + " here");
  }
  return *value;
}

ScenarioNode::Duration ScenarioNode::duration() const {
  std::optional<double> seconds;
  if (isScalar()) {
    seconds = realNumber(scalar_);
    if (!seconds) seconds = clockSeconds(scalar_);
    if (!seconds) seconds = unitSeconds(scalar_);
  }
  if (!seconds || *seconds < 0) {
    refuse("write a duration here, such as 00:10:00, 1h30m, 90s or a number of seconds");
  }
  if (*seconds > std::chrono::duration<double>(kMaxLength).count()) {
    refuse("this is too long; the maximum is ten years");
  }
  return std::chrono::round<Duration>(std::chrono::duration<double>(*seconds));
}

Date ScenarioNode::date() const {
  const auto date = isScalar() ? dateFrom(scalar_) : std::nullopt;
  if (!date) refuse("write a date here, such as 2026-11-16 14:00:00 (UTC, 1970 to 2199)");
  return *date;
}

Value ScenarioNode::plainValue() const {
  if (scalar_ == "true") return true;
  if (scalar_ == "false") return false;
  if (const auto integer = parseInteger<std::int64_t>(scalar_)) return *integer;
  if (const auto real = realNumber(scalar_)) return *real;
  if (const auto date = dateFrom(scalar_)) return *date;
  return scalar_;
}

Value ScenarioNode::value() const {
  switch (kind_) {
    case Kind::Nothing:
      return {};
    case Kind::Scalar: {
      if (!data_) return quoted_ ? Value(scalar_) : plainValue();
      auto bytes = bytesFrom(scalar_);
      if (!bytes) refuse("write the data as pairs of hexadecimal digits, such as !data \"0a 1b\"");
      return std::move(*bytes);
    }
    case Kind::List: {
      Value::List list;
      for (const ScenarioNode& item : items_) list.push_back(item.value());
      return list;
    }
    case Kind::Mapping: {
      Dictionary dictionary;
      for (const auto& [key, item] : entries()) dictionary.set(key.scalar_, item.value());
      return dictionary;
    }
  }
  return {};
}

const std::vector<ScenarioNode>& ScenarioNode::list() const {
  if (!isList()) refuse("write a list here: one \"- ...\" for each item");
  return items_;
}

std::vector<ScenarioNode> ScenarioNode::oneOrMore() const {
  return isList() ? items_ : std::vector<ScenarioNode>{*this};
}

const std::vector<ScenarioNode::Entry>& ScenarioNode::entries() const {
  if (!isMapping()) refuse("write a mapping here: one \"key: value\" for each entry");
  std::set<std::string_view> seen;
  for (const auto& [key, value] : entries_) {
    if (!seen.insert(key.scalar_).second) {
      key.refuse("the key " + inQuotes(key.scalar_) + " is repeated here");
    }
  }
  return entries_;
}

void ScenarioNode::checkKeys(const std::vector<std::string>& allowed) const {
  source_->offeredKeys.insert(allowed.begin(), allowed.end());
  for (const auto& [key, value] : entries()) {
    if (std::find(allowed.begin(), allowed.end(), key.scalar_) != allowed.end()) continue;
    std::string names;
    for (const std::string& name : allowed) names += (names.empty() ? "" : ", ") + name;
    key.refuse("the key " + inQuotes(key.scalar_) + " is not known here; use one of: " + names);
  }
}

ScenarioNode::Keys ScenarioNode::keys(std::initializer_list<const char*> allowed) const {
  checkKeys({allowed.begin(), allowed.end()});
  return Keys(*this);
}

const ScenarioNode* ScenarioNode::Keys::find(std::string_view key) const {
  for (const auto& [name, value] : mapping_.entries_) {
    if (name.scalar_ == key) return &value;
  }
  return nullptr;
}

const ScenarioNode& ScenarioNode::Keys::require(std::string_view key) const {
  const ScenarioNode* value = find(key);
  if (value == nullptr) mapping_.refuse("the key \"" + std::string(key) + "\" is missing here");
  return *value;
}

ScenarioAction ScenarioNode::actions(const std::vector<Key>& allowed) const {
  std::vector<std::string> names;
  for (const Key& key : allowed) names.push_back(key.name);
  checkKeys(names);
  std::vector<ScenarioAction> actions;
  for (const auto& [name, value] : entries_) {
    for (const Key& key : allowed) {
      if (key.name == name.scalar_) actions.push_back(key.read(value));
    }
  }
  return inTurn(std::move(actions));
}

ScenarioAction eachOf(const std::vector<ScenarioNode>& nodes, const ScenarioNode::Reader& read) {
  std::vector<ScenarioAction> actions;
  for (const ScenarioNode& node : nodes) actions.push_back(read(node));
  return inTurn(std::move(actions));
}

ScenarioAction eachEntryOf(
    const ScenarioNode& mapping,
    const std::function<ScenarioAction(const ScenarioNode&, const ScenarioNode&)>& read) {
  std::vector<ScenarioAction> actions;
  for (const auto& [name, value] : mapping.entries()) actions.push_back(read(name, value));
  return inTurn(std::move(actions));
}

ScenarioAction inTurn(std::vector<ScenarioAction> actions) {
  return [actions = std::move(actions)] {
    for (const ScenarioAction& action : actions) action();
  };
}

}  // namespace zorva
