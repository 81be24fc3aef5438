// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <utility>

#include "platform/base/Text.h"
#include "wake/ZVPacketTracker.h"

namespace zorva {
namespace {

// An IPv4 header with one word of options: no more options are decoded.
constexpr std::size_t kMinPacket = 48;
constexpr std::size_t kMinTCP = 32;
constexpr std::size_t kMinUDP = 16;

constexpr std::uint32_t kICMP = 1;
constexpr std::uint32_t kTCP = 6;
constexpr std::uint32_t kUDP = 17;

// The first characters of a text, up to a limit, and their number.
struct Characters {
  std::string_view text;
  std::size_t count;
};
Characters firstCharacters(std::string_view text, std::size_t most) {
  std::size_t bytes = 0;
  std::size_t count = 0;
  for (; count < most && bytes < text.size(); ++count) {
    bytes += firstCharacter(text.substr(bytes)).bytes.size();
  }
  return {text.substr(0, bytes), count};
}

bool isShorterThan(std::string_view text, std::size_t characters) {
  return firstCharacters(text, characters).count < characters;
}

// The value of each hexadecimal digit; -1 for other bytes.
constexpr std::array<std::int8_t, 256> kDigitValues = [] {
  std::array<std::int8_t, 256> values{};
  values.fill(-1);
  for (std::int8_t value = 0; value < 10; ++value) values['0' + value] = value;
  for (std::int8_t value = 10; value < 16; ++value) {
    values['a' + value - 10] = values['A' + value - 10] = value;
  }
  return values;
}();

int digitValue(char character) {
  return kDigitValues[static_cast<unsigned char>(character)];
}

bool isHexadecimal(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char digit) { return digitValue(digit) >= 0; });
}

bool sameLetter(char one, char other) {
  const auto lower = [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
  };
  return lower(one) == lower(other);
}

// Removes the literal, in upper or lower case, from the start of the text.
bool consume(std::string_view& text, std::string_view literal) {
  if (text.size() < literal.size() ||
      !std::equal(literal.begin(), literal.end(), text.begin(), sameLetter)) {
    return false;
  }
  text.remove_prefix(literal.size());
  return true;
}

bool contains(std::string_view text, std::string_view literal) {
  return std::search(text.begin(), text.end(), literal.begin(), literal.end(), sameLetter) !=
         text.end();
}

// Removes a decimal integer from the start of the text; its value is not needed.
bool consumeInteger(std::string_view& text) {
  std::size_t length = text.starts_with('+') || text.starts_with('-') ? 1 : 0;
  const std::size_t sign = length;
  while (length < text.size() && isDigit(text[length])) ++length;
  if (length == sign) return false;
  text.remove_prefix(length);
  return true;
}

// The text up to the first two consecutive blanks, with single blanks removed.
std::string upToTwoBlanks(std::string_view text) {
  std::string found(text.size(), ' ');
  std::size_t size = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != ' ') {
      found[size++] = text[i];
    } else if (i + 1 < text.size() && text[i + 1] == ' ') {
      break;
    }
  }
  found.resize(size);
  return found;
}

}  // namespace

std::optional<std::string> ZVPacketTracker::getPacketWoW(std::optional<std::string_view> text) {
  constexpr std::string_view kStart = "Wakeup Packet: ";
  constexpr std::size_t kSkipped = 28;
  constexpr std::size_t kUnmarkedPacketLength =
      52;  // characters used of a packet whose end is not marked

  if (!text) {
    systemLog_.write("[PacketDecoder] Wake packet parameter nil");
    return std::nullopt;
  }
  std::string_view rest = *text;
  if (!consume(rest, kStart)) {
    systemLog_.write("[PacketDecoder] Wake packet format unrecognized");
    return std::nullopt;
  }
  const Characters skipped = firstCharacters(rest, kSkipped);
  if (skipped.count < kSkipped) {
    systemLog_.write("[PacketDecoder] Packet too short");
    return std::nullopt;
  }
  rest.remove_prefix(skipped.text.size());
  const std::size_t end = rest.find(" (");
  // If fewer characters are left, they are all used.
  return checkedPacket(std::string(
      end == rest.npos ? firstCharacters(rest, kUnmarkedPacketLength).text : rest.substr(0, end)));
}

std::optional<std::string> ZVPacketTracker::getPacketBasebandDlci(
    std::optional<std::string_view> text, std::int32_t* kind) {
  if (!text) {
    systemLog_.write("[PacketDecoder] Wake reason parameter nil");
    return std::nullopt;
  }
  if (kind == nullptr) {
    systemLog_.write("[PacketDecoder] Dlci parameter null");
    return std::nullopt;
  }
  std::string_view rest = *text;
  if (!consume(rest, "Dlci ") || !consumeInteger(rest) || !consume(rest, " [")) {
    systemLog_.write("[PacketDecoder] Wake reason format unrecognized");
    return std::nullopt;
  }
  const std::string_view name = rest.substr(0, rest.find("]: "));
  if (name.empty()) {
    systemLog_.write("[PacketDecoder] Wake type not found");
    return std::nullopt;
  }
  rest.remove_prefix(name.size());
  consume(rest, "]: ");

  if (name.starts_with("pdp_") && name != "pdp_ctl") {
    if (rest.empty() || rest.starts_with("  ")) {
      systemLog_.write("[PacketDecoder] Cannot parse out packet");
      return std::nullopt;
    }
    auto checked = checkedPacket(upToTwoBlanks(rest));
    if (checked) *kind = kDataPacket;
    return checked;
  }
  if (name == "call" && contains(rest.substr(firstCharacters(rest, 1).text.size()), "XCALLSTAT")) {
    packetLog_ += " status=Incoming Call;";
    *kind = kIncomingCall;
  } else if (name == "sms") {
    packetLog_ += " status=Incoming SMS;";
    *kind = kIncomingSMS;
  } else {
    packetLog_ += formatText(" status=Other DLCI (%s);", safeText(name).c_str());
    *kind = kOtherChannel;
  }
  return std::string();
}

// The packet, if it is long enough and consists only of hexadecimal digits.
std::optional<std::string> ZVPacketTracker::checkedPacket(std::string packet) {
  if (packet.size() >= kMinPacket && isHexadecimal(packet)) return packet;
  if (isShorterThan(packet, kMinPacket)) {
    systemLog_.write("[PacketDecoder] Packet too short");
    return std::nullopt;
  }
  for (std::string_view rest = packet; !rest.empty();) {
    const auto [code, bytes] = firstCharacter(rest);
    const auto number = static_cast<unsigned>(code);
    if (code > 255) {
      systemLog_.write(formatText("[PacketDecoder] Unicode character 0x%x", number));
      return std::nullopt;
    }
    if (digitValue(bytes[0]) < 0) {
      systemLog_.write(formatText("[PacketDecoder] Non-hex character in packet %s (0x%x)",
                                  safeText(bytes).c_str(), number));
      return std::nullopt;
    }
    rest.remove_prefix(bytes.size());
  }
  return packet;
}

std::uint16_t ZVPacketTracker::udpParse(std::string_view text) {
  if (text.size() < kMinUDP) {
    systemLog_.write("[PacketDecoder] UDP Packet too short");
    return 0;
  }
  std::uint32_t cursor = 0;
  const auto read = [&](std::uint32_t bytes) {
    return hexStrtolOffsetLength(text, &cursor, bytes);
  };
  const std::uint32_t source = read(2);
  const std::uint32_t destination = read(2);
  const std::uint32_t length = read(2);
  packetLog_ +=
      formatText(" source_port=%u; dest_port=%u; length=%u;", source, destination, length);
  return static_cast<std::uint16_t>(destination);
}

std::uint16_t ZVPacketTracker::tcpParse(std::string_view text) {
  if (text.size() < kMinTCP) {
    systemLog_.write("[PacketDecoder] TCP Packet too short");
    return 0;
  }
  std::uint32_t cursor = 0;
  const auto read = [&](std::uint32_t bytes) {
    return hexStrtolOffsetLength(text, &cursor, bytes);
  };
  const std::uint32_t source = read(2);
  const std::uint32_t destination = read(2);
  const std::uint32_t sequence = read(4);
  const std::uint32_t acknowledgement = read(4);
  const std::uint32_t offset = read(1) >> 4;
  const std::uint32_t flags = read(1);
  const std::uint32_t window = read(2);
  // The two high bits are decoded, but never shown.
  std::string control = "xxUAPRSF";
  for (std::size_t i = 0; i < control.size(); ++i) {
    if ((flags & 0x3F & (0x80U >> i)) == 0) control[i] = 'x';
  }
  packetLog_ +=
      formatText(" source_port=%u; dest_port=%u; seq=%u; ack=%u; offset=%u; window=%u; control=%s;",
                 source, destination, sequence, acknowledgement, offset, window, control.c_str());
  return static_cast<std::uint16_t>(destination);
}

std::uint32_t ZVPacketTracker::hexStrtolOffsetLength(std::optional<std::string_view> text,
                                                     std::uint32_t* cursor, std::uint32_t length) {
  if (!text) {
    systemLog_.write("[PacketDecoder] hexStrtol string parameter nil");
    return kUnreadable;
  }
  if (length == 0) {
    systemLog_.write("[PacketDecoder] hexStrtol length zero");
    return kUnreadable;
  }
  if (cursor == nullptr) {
    systemLog_.write("[PacketDecoder] hexStrtol offset parameter null");
    return kUnreadable;
  }
  // In 64 bits, which no cursor and length can exceed.
  const std::uint64_t end = std::uint64_t{*cursor} + 2 * std::uint64_t{length};
  if (end > text->size() || end > UINT32_MAX) {
    systemLog_.write("[PacketDecoder] hexStrtol (offset + length) greater than string length");
    return kUnreadable;
  }
  const std::string_view field = text->substr(*cursor, static_cast<std::size_t>(end - *cursor));
  std::uint32_t number = 0;
  std::size_t digits = 0;
  for (int value; digits < field.size(); ++digits) {
    if ((value = digitValue(field[digits])) < 0) break;
    number = number << 4 | static_cast<std::uint32_t>(value);
  }
  if (digits == 0) {
    systemLog_.write(formatText("[PacketDecoder] hexStrtol scanner failed parsing: %s",
                                safeText(field).c_str()));
    return kUnreadable;
  }
  *cursor = static_cast<std::uint32_t>(end);
  return number;
}

// Adds the IPv4 and transport fields to packetLog. Returns the local port to which the packet is
// addressed, or 0.
std::uint16_t ZVPacketTracker::decodeHeaders(std::string_view packet) {
  std::uint32_t cursor = 0;
  const auto read = [&](std::uint32_t bytes) {
    return static_cast<int>(hexStrtolOffsetLength(packet, &cursor, bytes));
  };
  const auto readAddress = [&] {
    std::array<int, 4> address{};
    for (int& part : address) part = read(1);
    return address;
  };
  const int versionAndLength = read(1);
  read(1);  // type of service
  const int length = read(2);
  read(2);  // identification
  read(2);  // flags and fragment offset
  const int timeToLive = read(1);
  const int protocol = read(1);
  read(2);  // checksum
  const auto source = readAddress();
  const auto destination = readAddress();
  if ((versionAndLength & 0x0F) == 6) read(4);  // one word of options; longer ones are not decoded

  packetLog_ +=
      formatText(" version=IPv%d; length=%d; ttl=%d;", versionAndLength >> 4, length, timeToLive);
  switch (protocol) {
    case kTCP:
      packetLog_ += " protocol=TCP;";
      break;
    case kUDP:
      packetLog_ += " protocol=UDP;";
      break;
    case kICMP:
      packetLog_ += " protocol=ICMP;";
      break;
    default:
      packetLog_ += formatText(" protocol=Other (%d);", protocol);
  }
  packetLog_ +=
      formatText(" source=%d.%d.%d.%d; destination=%d.%d.%d.%d;", source[0], source[1], source[2],
                 source[3], destination[0], destination[1], destination[2], destination[3]);
  if (protocol == kTCP) return tcpParse(packet.substr(cursor));
  if (protocol == kUDP) return udpParse(packet.substr(cursor));
  return 0;
}

std::optional<ZVPacketTracker::Bodies> ZVPacketTracker::analyzePacketType(
    std::optional<std::string_view> text, std::int32_t type) {
  packetLog_.clear();
  processLog_.clear();
  std::optional<std::string> packet;
  std::int32_t kind = kDataPacket;
  if (type == kBasebandWake) {
    packet = getPacketBasebandDlci(text, &kind);
  } else if (type == kWiFiWake) {
    packet = getPacketWoW(text);
  } else {
    systemLog_.write("[PacketDecoder] Unknown Wake Type");
  }
  if (!packet) return std::nullopt;

  if (kind == kDataPacket) {
    const std::int32_t port = decodeHeaders(*packet);
    if (port != 0 && findProcessWithPort(port) < 0) {
      processLog_ += formatText(" error=Unable to find process with local port %d;", port);
    }
  }
  Bodies bodies;
  bodies.reserve(2);
  if (!packetLog_.empty()) bodies.emplace_back("PacketDecoder", packetLog_);
  if (!processLog_.empty()) bodies.emplace_back("PacketTracker", processLog_);
  return bodies;
}

}  // namespace zorva
