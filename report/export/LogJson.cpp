// SPDX-License-Identifier: Apache-2.0
#include "report/export/LogJson.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "platform/base/Text.h"
#include "report/export/JsonText.h"
#include "report/format/ZoneOffset.h"

namespace zorva {
namespace {

constexpr int kNamedBy = 8;              // entries that a log's name is made from
constexpr std::size_t kMostHeld = 1000;  // lines
constexpr std::uint32_t kHashBegin = 2166136261U;

// FNV-1a, with an end after each text.
void addToHash(std::string_view text, std::uint32_t& hash) {
  const auto add = [&](unsigned char byte) { hash = (hash ^ byte) * 16777619U; };
  for (const char byte : text) add(static_cast<unsigned char>(byte));
  add(0);
}

void appendHex(std::string_view bytes, std::string& to) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  to += '"';
  for (const char byte : bytes) {
    to += kDigits[static_cast<unsigned char>(byte) >> 4];
    to += kDigits[static_cast<unsigned char>(byte) & 0xF];
  }
  to += '"';
}

// With a decimal point, so that a database recognises a column of reals.
void appendReal(double number, std::string& to) {
  const std::size_t before = to.size();
  appendJsonNumber(number, to);
  if (to.find_first_of(".e", before) == to.npos) to += ".0";
}

// Whether the field's words are yes and no, or on and off.
bool isSwitch(const FieldFormat& format) {
  return format.words.size() == 2 &&
         ((format.words[0].word == "yes" && format.words[1].word == "no") ||
          (format.words[0].word == "on" && format.words[1].word == "off"));
}

void appendValue(const LogField& field, std::string& to) {
  const std::string_view value = field.value;
  if (field.absent || value == "<unknown>" || value == "(null)" || value == "<unavailable>") {
    to += "null";
    return;
  }
  const auto orNull = [&](const auto& number) {
    if (!number) {
      to += "null";
      return;
    }
    appendJsonNumber(*number, to);
  };
  switch (field.format->type) {
    case FieldType::Integer:
    case FieldType::Hex:
      return orNull(field.integer());
    case FieldType::Duration:
      return orNull(field.seconds());
    case FieldType::Real: {
      const auto number = field.real();
      if (number && std::isfinite(*number)) return appendReal(*number, to);
      to += "null";
      return;
    }
    case FieldType::Word:
      if (isSwitch(*field.format)) {
        to += value == field.format->words[0].word   ? "true"
              : value == field.format->words[1].word ? "false"
                                                     : "null";
        return;
      }
      break;
    case FieldType::Text:
    case FieldType::DateTime:
      break;
  }
  appendJsonText(value, to);
}

std::string_view nameOf(LogPiece piece) {
  switch (piece) {
    case LogPiece::Entry:
      return "entry";
    case LogPiece::Version:
      return "version";
    case LogPiece::Separator:
      return "separator";
    case LogPiece::Damaged:
      break;
  }
  return "damaged";
}

void appendList(std::string_view name, const std::vector<const LogField*>& fields, bool typed,
                std::string& to) {
  if (fields.empty()) return;
  to.append(to.back() == '{' ? "" : ",").append("\"").append(name).append("\":[");
  for (const LogField* const field : fields) {
    to += field == fields.front() ? R"({"key":)" : R"(,{"key":)";
    appendJsonText(field->key, to);
    to += ",\"value\":";
    if (typed) {
      appendValue(*field, to);
    } else {
      appendJsonText(field->value, to);
    }
    to += '}';
  }
  to += ']';
}

}  // namespace

std::string isoTime(LogTime time) {
  using namespace std::chrono;
  const sys_days day = floor<days>(sys_seconds(seconds(time)));
  const year_month_day date(day);
  const LogTime rest = time - duration_cast<seconds>(day.time_since_epoch()).count();
  return formatText("%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(date.year()),
                    static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                    static_cast<int>(rest / 3600), static_cast<int>(rest / 60 % 60),
                    static_cast<int>(rest % 60));
}

LogJson::LogJson(const std::string& device) : lineBegin_(formatText("{\"schema\":%d", kSchema)) {
  if (device.empty()) return;
  lineBegin_ += ",\"device\":";
  appendJsonText(device, lineBegin_);
}

void LogJson::add(const LogRecord& record, std::string_view file, bool wanted, std::string& to) {
  if (file != file_ || record.line < lastLine_) {  // another log
    release(to);
    file_ = file;
    named_ = 0;
    hash_ = kHashBegin;
    name_.clear();
    zone_.clear();
    inSnapshot_ = false;
  }
  lastLine_ = record.line;
  // A snapshot begins: after the daemon was stopped, or with a file, the device may have travelled.
  if (record.piece == LogPiece::Version || record.category == "Config") {
    if (!inSnapshot_) release(to);
    zone_.clear();
    inSnapshot_ = true;
  }
  if (record.piece == LogPiece::Entry) noticeEntry(record);
  const bool ready = named_ >= kNamedBy && !inSnapshot_;
  if (ready) release(to);
  if (wanted) append(record, file, line_);
  if (wanted && ready) {
    appendHeld(line_, to);
  } else if (wanted) {
    held_.push_back(line_);
    if (held_.size() >= kMostHeld) {
      release(to);
      inSnapshot_ = false;
    }
  }
}

void LogJson::noticeEntry(const LogRecord& record) {
  const bool names = named_ < kNamedBy && record.isTimed();
  const bool zone = record.category == "Locale";
  if (!names && !zone) return;
  splitFields(record, fields_);
  if (zone) {
    inSnapshot_ = false;
    zone_.clear();
    const auto field = std::ranges::find(fields_, "time_zone", &LogField::key);
    const auto offset = field != fields_.end() ? zoneOffset(field->value) : std::nullopt;
    if (offset) {
      zone_ = field->value;
      zoneSince_ = record.time;
      offset_ = offset->count();
    }
  }
  if (!names) return;
  if (named_++ == 0) begin_ = record.time;
  // Times, categories and figures: what redaction leaves as it is.
  addToHash(record.date, hash_);
  addToHash(record.category, hash_);
  for (const LogField& field : fields_) {
    if (field.format == nullptr || !field.isWellFormed()) continue;
    const FieldType type = field.format->type;
    const bool figure = type == FieldType::Integer || type == FieldType::Real;
    if (figure) addToHash(field.value, hash_);
  }
}

void LogJson::release(std::string& to) {
  if (name_.empty() && named_ > 0) {
    name_ = isoTime(begin_) + formatText("-%08x", static_cast<unsigned>(hash_));
    named_ = kNamedBy;
  }
  for (const Held& line : held_) appendHeld(line, to);
  held_.clear();
}

void LogJson::appendHeld(const Held& line, std::string& to) {
  to += line.before;
  if (line.snapshot) appendUtc(*line.snapshot, to);
  if (!name_.empty()) to.append(",\"log\":\"").append(name_).append("\"");
  to += line.after;
}

void LogJson::appendUtc(LogTime time, std::string& to) const {
  if (zone_.empty() || mayHaveShifted(zone_, zoneSince_, time)) return;
  to.append(",\"utc\":\"").append(isoTime(time - offset_)).append("Z\"");
}

void LogJson::append(const LogRecord& record, std::string_view file, Held& held) {
  held.before = lineBegin_;
  held.snapshot.reset();
  held.after.clear();
  held.before += ",\"file\":";
  appendJsonText(file, held.before);
  held.before += ",\"line\":";
  appendJsonNumber(record.line, held.before);
  held.before.append(",\"kind\":\"").append(nameOf(record.piece)).append("\"");
  std::string& to = held.after;
  if (record.piece == LogPiece::Entry) {
    if (timeText_.empty() || record.time != time_) {
      time_ = record.time;
      timeText_ = isoTime(time_);
    }
    held.before.append(",\"time\":\"").append(timeText_).append("\"");
    if (inSnapshot_) {
      held.snapshot = record.time;
    } else {
      appendUtc(record.time, held.before);
    }
    to += ",\"category\":";
    appendJsonText(record.category, to);
    appendFields(record, to);
  }
  to += ",\"raw\":";
  if (!appendJsonText(record.raw, to)) {
    to += ",\"bytes\":";
    appendHex(record.raw, to);
  }
  to += "}\n";
}

void LogJson::appendFields(const LogRecord& record, std::string& to) {
  splitFields(record, fields_);
  listed_.clear();
  unknown_.clear();
  category_.clear();
  for (const char byte : record.category) {
    category_ += byte == ' '                  ? '_'
                 : byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte | 32)
                                              : byte;
  }
  const std::size_t before = to.size();
  bool any = false;
  to.append(",\"").append(category_).append("\":{");
  for (const LogField& field : fields_) {
    if (field.format == nullptr) {
      unknown_.push_back(&field);
    } else if (field.format->key == "*") {
      listed_.push_back(&field);
    } else {
      to.append(any ? ",\"" : "\"").append(field.key);
      // A name that has occurred before gets a number.
      if (std::ranges::any_of(fields_.data(), &field,
                              [&](const LogField& other) { return other.key == field.key; })) {
        to += "_2";
      }
      to += "\":";
      appendValue(field, to);
      any = true;
    }
  }
  appendList("values", listed_, true, to);
  to += '}';
  if (!any && listed_.empty()) to.resize(before);
  if (unknown_.size() == 1 && unknown_.front()->key.empty()) {
    to += ",\"text\":";
    appendJsonText(trimmed(unknown_.front()->value), to);
  } else {
    appendList("other", unknown_, false, to);
  }
}

}  // namespace zorva
