// SPDX-License-Identifier: Apache-2.0
// The reason of a wake arrives in bytes from outside. For any bytes, nothing is read past their
// end, the output is whole lines that can be shown, and a rejection gives its reason, once.
//
// An input is a byte for the wake type, a byte each for a field's cursor and length, and the text.

#include <cstdint>

#include "core/NotificationCenter.h"
#include "core/SleepNotifications.h"
#include "platform/base/Text.h"
#include "platform/loop/sim/SimClock.h"
#include "platform/processes/sim/SimProcessInformation.h"
#include "platform/system/sim/SimSystemLog.h"
#include "tests/fuzz/Require.h"
#include "wake/ZVPacketTracker.h"

namespace zorva {
namespace {

// A process with a socket at port 5353 and one at 443, and the tracker that finds it.
struct Device {
  SimParts parts;
  SimClock clock{Date{}};
  SimSystemStatistics statistics{clock};
  SimProcessTable table{parts, statistics};
  SimProcessInformation processes{parts.faults, table};
  SimSystemLog systemLog;
  NotificationCenter notifications;
  ZVPacketTracker tracker{notifications, systemLog, processes};

  Device() {
    table.setProcess(7, "resolver");
    table.open(7, simUdpSocket("0.0.0.0:5353"));
    table.open(7, simTcpSocket("10.2.3.4:443", "192.0.2.7:993", tcp::kEstablished));
    notifications.post(kDeviceWillSleep);
    REQUIRE(systemLog.takeLines().empty());
  }
};

bool isOneLine(const std::string& text) {
  return !text.empty() && safeText(text) == text;
}

void checkAnalysis(Device& device, std::string_view text, std::int32_t type) {
  const auto bodies = device.tracker.analyzePacketType(text, type);
  const auto lines = device.systemLog.takeLines();
  for (const std::string& line : lines) {
    REQUIRE(line.starts_with("[PacketDecoder] ") && isOneLine(line));
  }
  REQUIRE(lines.size() <= 1);
  REQUIRE(bodies.has_value() || lines.size() == 1);
  if (bodies) {
    REQUIRE(bodies->size() == 1 || bodies->size() == 2);
    REQUIRE(bodies->front().first == "PacketDecoder");
    REQUIRE(bodies->size() == 1 || bodies->back().first == "PacketTracker");
    for (const auto& [category, body] : *bodies) {
      REQUIRE(isOneLine(body) && body.starts_with(' ') && body.ends_with(';'));
    }
    // A lookup takes place exactly if there is a port to look up.
    const std::string& packet = bodies->front().second;
    const bool hasPort = packet.starts_with(" version=") &&
                         packet.find(" dest_port=") != packet.npos &&
                         packet.find(" dest_port=0;") == packet.npos;
    REQUIRE(hasPort == (bodies->size() == 2));
  }
  // No state remains that would change the next result.
  REQUIRE(device.tracker.analyzePacketType(text, type) == bodies);
  REQUIRE(device.systemLog.takeLines() == lines);
}

void checkField(Device& device, std::string_view text, std::uint32_t at, std::uint32_t length) {
  std::uint32_t cursor = at;
  const std::uint32_t field = device.tracker.hexStrtolOffsetLength(text, &cursor, length);
  const auto lines = device.systemLog.takeLines();
  if (lines.empty()) {
    REQUIRE(cursor == at + 2 * length && cursor <= text.size());
    REQUIRE(length >= 4 || field < 1U << (8 * length));
  } else {
    REQUIRE(lines.size() == 1 && isOneLine(lines.front()));
    REQUIRE(cursor == at && field == ZVPacketTracker::kUnreadable);
  }
}

}  // namespace
}  // namespace zorva

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static zorva::Device device;
  if (size < 3) return 0;
  // A copy of exactly the text, so that a read past its end is found.
  const std::string text(data + 3, data + size);
  zorva::checkAnalysis(
      device, text,
      data[0] % 2 == 0 ? zorva::ZVPacketTracker::kBasebandWake : zorva::ZVPacketTracker::kWiFiWake);
  // The upper bytes reach cursors and lengths at the end of their range.
  const auto widened = [](std::uint8_t byte) {
    return byte < 0xF0 ? std::uint32_t{byte} : 0xFFFFFF00U | byte;
  };
  zorva::checkField(device, text, widened(data[1]), widened(data[2]));
  return 0;
}
