// SPDX-License-Identifier: Apache-2.0
#include "report/redact/Redaction.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "platform/base/Text.h"
#include "report/format/ZoneOffset.h"
#include "report/redact/OwnMessages.h"

namespace zorva {
namespace {

constexpr std::size_t kHexDigitsOfAddress = 12;  // of a network card
constexpr std::size_t kMostHeld = 1 << 20;       // bytes; a snapshot has a few KiB

// The kinds of names in fields. Names of one kind share their tokens, so that a process has the
// same token in every entry. Tokens of other fields are named after their keys.
struct Kind {
  std::string_view category;
  std::string_view key;
  std::string_view kind;
};
constexpr std::string_view kProcess = "process";
constexpr std::string_view kApplication = "app";
constexpr std::string_view kUnit = "unit";
constexpr Kind kKinds[] = {
    {"Accessory", "name", "accessory"}, {"Application", "id", kApplication},
    {"Assertion", "name", "assertion"}, {"Geodyne Client", "id", kApplication},
    {"KL Client", "id", "client"},      {"Network", "*", "interface"},
    {"NMXN", "topic", kApplication},    {"ProcessMonitor", "*", kProcess},
    {"Schedule", "id", kApplication},   {"Syncward", "name", "account"},
    {"Wakeup Sources", "*", "source"},  {"Work", "*", kUnit},
};

std::string_view kindOf(std::string_view category, const FieldFormat& format) {
  for (const Kind& kind : kKinds) {
    if (kind.category == category && kind.key == format.key) return kind.kind;
  }
  return format.key == "*" ? "name" : format.key;
}

constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";

bool isDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

// The name of an interface may hold the address of its card.
bool holdsCardAddress(std::string_view text) {
  std::size_t run = 0;
  for (const char byte : text) {
    run = kHexDigits.find(byte) == kHexDigits.npos ? 0 : run + 1;
    if (run >= kHexDigitsOfAddress) return true;
  }
  return false;
}

// Units that are named after a path.
bool isNamedAfterPath(std::string_view unit) {
  constexpr std::string_view kEnds[] = {".mount", ".automount", ".swap", ".device"};
  return std::ranges::any_of(kEnds, [&](std::string_view end) { return unit.ends_with(end); });
}

// Whether a text can be the name of a program. Only processes have names with blanks.
bool isProgramName(std::string_view kind, std::string_view text) {
  return !text.empty() && text[0] != '/' && text[0] != '~' && !isNamedAfterPath(text) &&
         text.find_first_of(kind == kProcess ? ";=" : ";= ") == text.npos &&
         std::ranges::none_of(text, [](unsigned char byte) { return byte < ' '; });
}

bool isPlainKey(std::string_view key) {
  return key.size() <= 32 && !holdsCardAddress(key) &&
         std::all_of(key.begin(), key.end(), [](char byte) {
           return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || isDigit(byte) ||
                  byte == '_' || byte == '.' || byte == '-';
         });
}

// Addresses that identify no host: unspecified, loopback, broadcast.
bool isGenericAddress(std::string_view address) {
  return address == "0.0.0.0" || address == "::" || address == "::1" || address == "*" ||
         address == "255.255.255.255" ||
         (address.starts_with("127.") && address.find_first_not_of("0123456789.") == address.npos);
}

// Whether a value that is harmless by its format may be something else after all: text that seems
// to hold further fields.
bool isDoubtful(const LogField& field) {
  return !field.isWellFormed() ||
         (field.format->type == FieldType::Text && field.value.find(';') != field.value.npos);
}

}  // namespace

void Redaction::append(const LogRecord& record, std::string& to) {
  if (record.piece == LogPiece::Version) {  // the device may have travelled since the last file
    release(to);
    zone_.reset();
  }
  const bool waits = !held_.empty() || (!zone_ && record.category == "Schedule");
  appendPiece(record, waits ? held_ : to);
  if (held_.size() > kMostHeld) zone_.emplace();
  if (zone_) release(to);
}

void Redaction::finish(std::string& to) {
  release(to);
}

// Writes what was kept, with its times in the zone that is known now.
void Redaction::release(std::string& to) {
  std::size_t written = 0;
  for (const auto& [place, time] : std::exchange(missing_, {})) {
    to.append(held_, written, place - written);
    written = place;
    const auto local = zone_ && zone_->offset ? localTime(time, *zone_->offset) : std::nullopt;
    to += local ? *local : name("time", time);
  }
  to.append(held_, written);
  held_.clear();
}

void Redaction::appendPiece(const LogRecord& record, std::string& to) {
  switch (record.piece) {
    case LogPiece::Version:
    case LogPiece::Separator:
      to += record.raw;
      return;
    case LogPiece::Entry:
      appendEntry(record, to);
      return;
    case LogPiece::Damaged:
      break;
  }
  if (record.lines == 0) {  // the rest of a line whose beginning has been replaced
    if (record.raw.ends_with('\n')) to += '\n';
    return;
  }
  const std::string token = "damaged-" + std::to_string(++damaged_);
  appendLines(record, token, token, to);
}

// Replaces the text of each line and keeps the line's end.
void Redaction::appendLines(const LogRecord& record, std::string_view first,
                            std::string_view between, std::string& to) {
  std::string_view rest = record.raw;
  for (std::string_view text = first; !rest.empty(); text = between) {
    const std::size_t end = rest.find('\n');
    to += text;
    if (end == rest.npos) return;
    if (end > 0 && rest[end - 1] == '\r') to += '\r';
    to += '\n';
    rest.remove_prefix(end + 1);
  }
}

void Redaction::appendEntry(const LogRecord& record, std::string& to) {
  if (record.lines > 1) return appendDump(record, to);
  const char* const afterBody = record.body.data() + record.body.size();
  to.append(record.raw.data(), record.body.data());
  if (record.format == nullptr || record.format->shape == EntryShape::Text) {
    appendText(record, to);
  } else {
    splitFields(record, fields_);
    for (const LogField& field : fields_) appendField(record.category, field, to);
  }
  to.append(afterBody, record.raw.data() + record.raw.size());
}

// The brackets stay, so that it is still one entry.
void Redaction::appendDump(const LogRecord& record, std::string& to) {
  const std::string token = "    " + content(record.body) + ";";
  const std::size_t headEnd = record.raw.find('\n') + 1;
  const std::size_t lastLine = record.raw.substr(0, record.raw.size() - 1).rfind('\n') + 1;
  to += record.raw.substr(0, headEnd);
  LogRecord inner;
  inner.raw = record.raw.substr(headEnd, lastLine - headEnd);
  appendLines(inner, token, token, to);
  to += record.raw.substr(lastLine);
}

void Redaction::appendText(const LogRecord& record, std::string& to) {
  std::string_view text = record.body;
  if (text.starts_with(' ')) {
    to += ' ';
    text.remove_prefix(1);
  }
  if (text.empty()) return;
  if (record.category == "Zorva" && isOwnMessage(text)) {
    to += text;
    return;
  }
  // " powerd[31]: external power present"
  if (record.category == LogRecord::kQuotedCategory) {
    const std::size_t open = text.find('[');
    const std::size_t close = text.find("]: ");
    if (open != text.npos && close != text.npos && open < close && open > 0) {
      const std::string_view pid = text.substr(open + 1, close - open - 1);
      const std::string_view process = text.substr(0, open);
      to +=
          process.find(' ') == process.npos ? program(kProcess, process) : name(kProcess, process);
      to += '[';
      to += isDigits(pid) || pid == "(null)" ? std::string(pid) : content(pid);
      to += "]: ";
      to += content(text.substr(close + 3));
      return;
    }
  }
  to += content(text);
}

void Redaction::appendField(std::string_view category, const LogField& field, std::string& to) {
  if (field.format == nullptr) {
    std::string_view text = field.raw;
    const bool ended = text.ends_with(';');
    if (ended) text.remove_suffix(1);
    if (text.starts_with(' ')) {
      to += ' ';
      text.remove_prefix(1);
    }
    if (!text.empty()) to += content(text);
    if (ended) to += ';';
    return;
  }
  const FieldFormat& format = *field.format;
  const Privacy privacy = format.privacy;
  const std::string_view kind = kindOf(category, format);
  // What a key from the device can reveal. Its value is then a figure.
  const bool anyKey = format.key == "*";
  const bool keyIsName = anyKey && privacy == Privacy::Name;
  to += ' ';
  if (!anyKey || (!keyIsName && isPlainKey(field.key))) {
    to += field.key;
  } else {
    // "mediad(45)": the number stays.
    const std::size_t open = field.key.rfind('(');
    const bool numbered = open != field.key.npos && open > 0 && field.key.ends_with(')') &&
                          isDigits(field.key.substr(open + 1, field.key.size() - open - 2));
    const std::string_view plain = field.key.substr(0, numbered ? open : field.key.size());
    to += numbered || kind != kProcess ? program(kind, plain) : name(kind, plain);
    if (numbered) to += field.key.substr(open);
  }
  to += '=';
  if (category == "Locale" && format.key == "time_zone") zone_ = Zone{zoneOffset(field.value)};
  if (field.isWord() || (!anyKey && field.value.empty())) {
    to += field.value;
    to += field.unit;
  } else if (format.type == FieldType::DateTime) {
    appendTime(field, to);
  } else if (keyIsName || privacy == Privacy::Harmless) {
    to += isDoubtful(field) ? content(field.value) : std::string(field.value);
    to += field.unit;
  } else if (privacy == Privacy::Address) {
    appendAddress(field.value, to);
  } else if (privacy == Privacy::Content) {
    to += content(field.value);
  } else if (format.key == "path" && field.value.find('/') != field.value.npos) {
    // The last part is a process's name.
    const std::size_t slash = field.value.rfind('/');
    to += name(kind, field.value.substr(0, slash));
    to += '/';
    if (slash + 1 < field.value.size()) to += program(kProcess, field.value.substr(slash + 1));
  } else {
    to += program(kind, field.value);
  }
  if (field.raw.ends_with(';')) to += ';';
}

// "198.51.100.24". If a port follows, it stays.
void Redaction::appendAddress(std::string_view address, std::string& to) {
  std::string_view port;
  const std::size_t colon = address.rfind(':');
  const bool only = address.find(':') == colon || address.substr(0, colon).ends_with(']');
  if (colon != address.npos && only && isDigits(address.substr(colon + 1)) &&
      address.size() - colon <= sizeof "65535") {
    port = address.substr(colon);
    address.remove_suffix(port.size());
  }
  if (isGenericAddress(address)) {
    to += address;
  } else {
    to += name("ip", address);
  }
  to += port;
}

// Without the offset: the time is then taken as local.
void Redaction::appendTime(const LogField& field, std::string& to) {
  if (!field.isWellFormed()) {
    to += content(field.value);
  } else if (!zone_) {
    missing_.emplace_back(to.size(), field.value);
  } else if (const auto local =
                 zone_->offset ? localTime(field.value, *zone_->offset) : std::nullopt) {
    to += *local;
  } else {
    to += name("time", field.value);
  }
}

// A name that stays if it is a program's.
std::string Redaction::program(std::string_view kind, std::string_view value) {
  const bool isProgram = kind == kProcess || kind == kApplication || kind == kUnit;
  if (keep_ != Keep::Programs || !isProgram || !isProgramName(kind, value)) {
    return name(kind, value);
  }
  const std::size_t at = value.find('@');
  if (at == value.npos) return withoutIds(value);
  std::size_t end = value.rfind('.');
  if (end == value.npos || end < at) end = value.size();
  const std::string_view instance = value.substr(at + 1, end - at - 1);
  std::string kept = withoutIds(value.substr(0, at + 1));
  kept += instance.empty() || isDigits(instance) || instance == "autostart"
              ? std::string(instance)
              : name("instance", instance);
  return kept.append(value.substr(end));
}

// Replaces long hexadecimal numbers, also those that are grouped by hyphens: they are addresses,
// and identifiers of users, disks and containers.
std::string Redaction::withoutIds(std::string_view text) {
  std::string to;
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t end = at;
    while (end < text.size() && (kHexDigits.find(text[end]) != kHexDigits.npos ||
                                 (text[end] == '-' && end > at && text[end - 1] != '-'))) {
      ++end;
    }
    if (end == at) {
      to += text[at++];
      continue;
    }
    const std::string_view run = text.substr(at, end - at);
    const auto hyphens = static_cast<std::size_t>(std::ranges::count(run, '-'));
    if (run.size() - hyphens >= kHexDigitsOfAddress && std::ranges::any_of(run, isDigit)) {
      const bool hyphen = run.ends_with('-');
      to += name("id", run.substr(0, run.size() - (hyphen ? 1 : 0)));
      if (hyphen) to += '-';
    } else {
      to += run;
    }
    at = end;
  }
  return to;
}

const std::string& Redaction::name(std::string_view kind, std::string_view value) {
  scratch_.assign(kind).append(1, '\n').append(value);
  const auto [found, isNew] = names_.try_emplace(scratch_);
  if (isNew) {
    found->second.assign(kind).append("-").append(std::to_string(++counts_[std::string(kind)]));
  }
  return found->second;
}

std::string Redaction::content(std::string_view value) {
  const auto next = static_cast<std::uint32_t>(contents_.size() + 1);
  const auto [found, isNew] = contents_.try_emplace(std::hash<std::string_view>{}(value), next);
  return "content-" + std::to_string(found->second);
}

}  // namespace zorva
