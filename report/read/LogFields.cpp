// SPDX-License-Identifier: Apache-2.0
// Splits the body of an entry into fields, and reads their values.

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/base/Text.h"
#include "report/read/LogReader.h"

namespace zorva {
namespace {

// The offset after the ";" that ends a field without "; " in its value: the first one before a
// blank or the end.
std::size_t firstEnd(std::string_view body, std::size_t from) {
  for (std::size_t at = body.find(';', from); at != body.npos; at = body.find(';', at + 1)) {
    if (at + 1 == body.size() || body[at + 1] == ' ') return at + 1;
  }
  return body.size();
}

class Splitter {
 public:
  Splitter(std::string_view body, std::span<const FieldFormat> formats)
      : body_(body), formats_(formats) {}

  void split(std::vector<LogField>& fields) {
    std::size_t at = 0;
    std::size_t from = 0;  // the first format that may come next
    while (at < body_.size()) {
      std::size_t index = body_[at] == ' ' ? formatAt(at, from) : formats_.size();
      if (index == formats_.size() && body_[at] == ' ' && from > 0) index = formatAt(at, 0);
      const FieldFormat* format = index < formats_.size() ? &formats_[index] : nullptr;
      const std::size_t end = format == nullptr ? firstEnd(body_, at) : endOf(at, index);
      fields.push_back(makeField(body_.substr(at, end - at), format));
      at = end;
      if (format != nullptr) from = format->key == "*" ? index : index + 1;
    }
  }

 private:
  // The first format, from this one on, whose key follows the blank.
  std::size_t formatAt(std::size_t blank, std::size_t from) const {
    const std::string_view rest = body_.substr(blank + 1);
    std::size_t any = formats_.size();
    for (std::size_t i = from; i < formats_.size(); ++i) {
      const std::string_view key = formats_[i].key;
      if (key == "*") {
        any = std::min(any, i);
      } else if (rest.size() > key.size() && rest[key.size()] == '=' && rest.starts_with(key)) {
        return i;
      }
    }
    if (any == formats_.size()) return any;
    const std::string_view field = body_.substr(blank, firstEnd(body_, blank) - blank);
    return field.find('=', 2) == field.npos ? formats_.size() : any;
  }

  // Where the field that begins at this blank ends.
  std::size_t endOf(std::size_t at, std::size_t index) const {
    const FieldFormat& format = formats_[index];
    if (format.key == "*") return firstEnd(body_, at);
    const std::size_t value = at + 1 + format.key.size() + 1;
    if (format.type != FieldType::Text) return firstEnd(body_, value);
    for (std::size_t end = firstEnd(body_, value); end < body_.size(); end = firstEnd(body_, end)) {
      const std::size_t next = formatAt(end, index + 1);
      if (next < formats_.size()) return lastEnd(end, next);
    }
    return body_.size();
  }

  // The value may hold the next field's key as text. The last occurrence is then the next field.
  std::size_t lastEnd(std::size_t first, std::size_t next) const {
    const std::string_view key = formats_[next].key;
    const auto later = formats_.subspan(next + 1);
    const bool again = std::any_of(later.begin(), later.end(),
                                   [&](const FieldFormat& format) { return format.key == key; });
    if (key == "*" || again) return first;
    std::size_t last = first;
    for (std::size_t at = body_.find(key, first + 2); at != body_.npos;
         at = body_.find(key, at + 1)) {
      if (body_[at - 1] == ' ' && body_[at - 2] == ';' && body_.substr(at + key.size(), 1) == "=") {
        last = at - 1;
      }
    }
    return last;
  }

  static LogField makeField(std::string_view raw, const FieldFormat* format) {
    LogField field;
    field.raw = raw;
    field.format = format;
    std::string_view text = raw;
    if (text.starts_with(' ')) text.remove_prefix(1);
    if (text.ends_with(';')) text.remove_suffix(1);
    // Names from the device may hold "=".
    const std::size_t equals = format != nullptr && format->key != "*" ? format->key.size()
                               : format != nullptr                     ? text.rfind('=')
                                                                       : text.find('=');
    if (equals == text.npos || equals == 0) {
      field.format = nullptr;
      field.value = text;
      return field;
    }
    field.key = text.substr(0, equals);
    field.value = text.substr(equals + 1);
    if (format != nullptr && !format->unit.empty() && field.value.ends_with(format->unit)) {
      field.unit = field.value.substr(field.value.size() - format->unit.size());
      field.value.remove_suffix(format->unit.size());
    }
    return field;
  }

  std::string_view body_;
  std::span<const FieldFormat> formats_;
};

bool isPlainKey(std::string_view key) {
  return !key.empty() && std::all_of(key.begin(), key.end(), [](char byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || isDigit(byte) ||
           byte == '_' || byte == '.';
  });
}

bool isDate(std::string_view text) {
  constexpr std::string_view kPattern = "0000-00-00 00:00:00 +0000";
  if (text.size() != kPattern.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (kPattern[i] == '0' ? !isDigit(text[i])
                           : text[i] != kPattern[i] && !(kPattern[i] == '+' && text[i] == '-')) {
      return false;
    }
  }
  return true;
}

void markAbsent(std::vector<LogField>& fields) {
  for (LogField& field : fields) {
    if (field.format == nullptr || field.format->absent.value.empty()) continue;
    const AbsentFormat& absent = field.format->absent;
    field.absent =
        field.value == absent.value &&
        (absent.besideUnknown.empty() || std::ranges::any_of(fields, [&](const LogField& other) {
           return other.key == absent.besideUnknown && other.value == "<unknown>";
         }));
  }
}

}  // namespace

void splitFields(const LogRecord& entry, std::vector<LogField>& fields) {
  fields.clear();
  if (entry.body.empty()) return;
  const auto whole = [&] {
    fields.clear();
    LogField text;
    text.raw = text.value = entry.body;
    if (text.value.starts_with(' ')) text.value.remove_prefix(1);
    fields.push_back(text);
  };
  if (entry.format != nullptr && entry.format->shape == EntryShape::Text) return whole();
  Splitter(entry.body,
           entry.format != nullptr ? entry.format->fields : std::span<const FieldFormat>())
      .split(fields);
  markAbsent(fields);
  if (entry.format == nullptr &&
      !std::all_of(fields.begin(), fields.end(), [](const LogField& field) {
        return field.raw.starts_with(' ') && field.raw.ends_with(';') && isPlainKey(field.key);
      })) {
    whole();
  }
}

std::optional<std::int64_t> LogField::integer() const {
  const bool hex = format != nullptr && format->type == FieldType::Hex;
  return parseNumber<std::int64_t>(value, hex ? 16 : 10);
}

std::optional<double> LogField::real() const {
  return parseReal(value);
}

std::optional<std::int64_t> LogField::seconds() const {
  std::array<std::int64_t, 3> parts{};
  std::string_view rest = value;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const std::size_t colon = i + 1 < parts.size() ? rest.find(':') : rest.size();
    if (colon == rest.npos) return std::nullopt;
    const auto part = parseNumber<std::int64_t>(rest.substr(0, colon));
    constexpr std::int64_t kMaximum = std::int64_t{1} << 48;  // nothing overflows below
    if (!part || *part > kMaximum || *part < -kMaximum) return std::nullopt;
    parts[i] = *part;
    rest.remove_prefix(std::min(colon + 1, rest.size()));
  }
  return parts[0] * 3600 + parts[1] * 60 + parts[2];
}

bool LogField::isWord() const {
  if (value == "<unknown>" || value == "(null)") return true;
  return format != nullptr &&
         std::any_of(format->words.begin(), format->words.end(),
                     [&](const WordFormat& word) { return word.word == value; });
}

bool LogField::isWellFormed() const {
  if (format == nullptr) return false;
  if (isWord()) return true;
  if (unit.size() != format->unit.size()) return false;
  switch (format->type) {
    case FieldType::Word:
      return false;
    case FieldType::Text:
      return true;
    case FieldType::Integer:
    case FieldType::Hex:
      return integer().has_value();
    case FieldType::Real:
      return real().has_value();
    case FieldType::Duration:
      return seconds().has_value();
    case FieldType::DateTime:
      return isDate(value);
  }
  return false;
}

}  // namespace zorva
