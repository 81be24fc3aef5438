// SPDX-License-Identifier: Apache-2.0
#include "report/format/LogWhen.h"

#include <algorithm>
#include <utility>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr LogTime kDay = 86400;

// The number of up to `most` digits at the front of the text, which is taken off; -1 without one.
LogTime takeNumber(std::string_view& text, std::size_t most) {
  std::size_t length = 0;
  while (length < std::min(most, text.size()) && isDigit(text[length])) ++length;
  const auto number = parseNumber<LogTime>(text.substr(0, length));
  text.remove_prefix(length);
  return number.value_or(-1);
}

// "23:00" or "23:00:30".
std::optional<LogTime> timeOfDay(std::string_view text) {
  constexpr LogTime kLimits[] = {24, 60, 60};
  constexpr LogTime kSeconds[] = {3600, 60, 1};
  LogTime time = 0;
  std::size_t part = 0;
  for (; part < 3; ++part) {
    const LogTime number = takeNumber(text, 2);
    if (number < 0 || number >= kLimits[part]) return std::nullopt;
    time += number * kSeconds[part];
    if (text.empty()) break;
    if (text.front() != ':') return std::nullopt;
    text.remove_prefix(1);
  }
  return part == 1 || part == 2 ? std::optional(time) : std::nullopt;
}

// "8h", "90min", "1d12h".
std::optional<LogTime> lengthOf(std::string_view text) {
  struct Unit {
    std::string_view name;
    LogTime seconds;
  };
  constexpr Unit kUnits[] = {{"d", kDay}, {"h", 3600}, {"min", 60}, {"m", 60}, {"s", 1}};
  if (text.empty()) return std::nullopt;
  LogTime length = 0;
  while (!text.empty()) {
    const LogTime number = takeNumber(text, 6);
    if (number < 0) return std::nullopt;
    const Unit* unit = nullptr;
    for (const Unit& each : kUnits) {
      if (unit == nullptr && text.starts_with(each.name)) unit = &each;
    }
    if (unit == nullptr) return std::nullopt;
    length += number * unit->seconds;
    text.remove_prefix(unit->name.size());
  }
  return length;
}

LogTime midnightOf(LogTime time) {
  return time - (time % kDay + kDay) % kDay;
}

}  // namespace

std::optional<LogWhen> LogWhen::parse(std::string_view text, bool isEnd) {
  if (const auto time = logTimeFrom(text, isEnd)) return LogWhen(Kind::Absolute, *time);
  if (const auto time = timeOfDay(text)) return LogWhen(Kind::OfDay, *time);
  if (text.starts_with('-')) {
    const auto length = lengthOf(text.substr(1));
    return length ? std::optional(LogWhen(Kind::Before, *length)) : std::nullopt;
  }
  for (const auto& [word, start] : {std::pair("today", LogTime{0}), {"yesterday", -kDay}}) {
    if (!text.starts_with(word)) continue;
    std::string_view rest = text.substr(std::string_view(word).size());
    if (rest.empty()) return LogWhen(Kind::Day, start + (isEnd ? kDay - 1 : 0));
    if (rest.front() != ' ') return std::nullopt;
    const auto time = timeOfDay(rest.substr(1));
    return time ? std::optional(LogWhen(Kind::Day, start + *time)) : std::nullopt;
  }
  return std::nullopt;
}

LogTime LogWhen::seenFrom(LogTime from, std::optional<LogTime> after) const {
  switch (kind_) {
    case Kind::Absolute:
      break;
    case Kind::Before:
      return from - value_;
    case Kind::Day:
      return midnightOf(from) + value_;
    case Kind::OfDay: {
      const LogTime time = midnightOf(after.value_or(from)) + value_;
      if (after) return time > *after ? time : time + kDay;
      return time <= from ? time : time - kDay;
    }
  }
  return value_;
}

}  // namespace zorva
