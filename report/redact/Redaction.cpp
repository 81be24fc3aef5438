// SPDX-License-Identifier: Apache-2.0
#include "report/redact/Redaction.h"

#include <algorithm>
#include <functional>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::size_t kHexDigitsOfAddress = 12;  // of a network card

// The kinds of names in fields. Names of one kind share their tokens, so that a process has the
// same token in every entry. Tokens of other fields are named after their keys.
struct Kind {
  std::string_view category;
  std::string_view key;
  std::string_view kind;
};
constexpr std::string_view kProcess = "process";
constexpr Kind kKinds[] = {
    {"Accessory", "name", "accessory"}, {"Application", "id", "app"},
    {"Assertion", "name", "assertion"}, {"Geodyne Client", "id", "app"},
    {"KL Client", "id", "client"},      {"Network", "*", "interface"},
    {"NMXN", "topic", "app"},           {"ProcessMonitor", "*", kProcess},
    {"Schedule", "id", "app"},          {"Syncward", "name", "account"},
    {"Wakeup Sources", "*", "source"},  {"Work", "*", "unit"},
};

std::string_view kindOf(std::string_view category, const FieldFormat& format) {
  for (const Kind& kind : kKinds) {
    if (kind.category == category && kind.key == format.key) return kind.kind;
  }
  return format.key == "*" ? "name" : format.key;
}

bool isDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

// The name of an interface may hold the address of its card.
bool holdsCardAddress(std::string_view text) {
  std::size_t run = 0;
  for (const char byte : text) {
    run = std::string_view("0123456789abcdefABCDEF").find(byte) == std::string_view::npos ? 0
                                                                                          : run + 1;
    if (run >= kHexDigitsOfAddress) return true;
  }
  return false;
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
  // " powerd[31]: external power present"
  if (record.category == LogRecord::kQuotedCategory) {
    const std::size_t open = text.find('[');
    const std::size_t close = text.find("]: ");
    if (open != text.npos && close != text.npos && open < close && open > 0) {
      const std::string_view process = text.substr(open + 1, close - open - 1);
      to += name(kProcess, text.substr(0, open));
      to += '[';
      to += isDigits(process) || process == "(null)" ? std::string(process) : content(process);
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
    to += name(kind, field.key.substr(0, numbered ? open : field.key.size()));
    if (numbered) to += field.key.substr(open);
  }
  to += '=';
  if (field.isWord() || (!anyKey && field.value.empty())) {
    to += field.value;
    to += field.unit;
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
    if (slash + 1 < field.value.size()) to += name(kProcess, field.value.substr(slash + 1));
  } else {
    to += name(kind, field.value);
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
