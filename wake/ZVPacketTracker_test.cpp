// SPDX-License-Identifier: Apache-2.0
#include "wake/ZVPacketTracker.h"

#include <limits>

#include "core/SleepNotifications.h"
#include "tests/support/LoggerTest.h"

// Texts of the baseband, and whose socket a packet was for, are in tests/scenarios/wakes.yaml.

namespace zorva {
namespace {

class PacketTrackerTest : public LoggerTest {
 protected:
  // The bodies for a wake text, and after " ! " what the system log says.
  std::string analyze(std::optional<std::string> text,
                      std::int32_t type = ZVPacketTracker::kWiFiWake) {
    std::string all;
    const auto bodies = tracker.analyzePacketType(text, type);
    for (const auto& [category, body] : bodies.value_or(ZVPacketTracker::Bodies())) {
      all += category + body + "\n";
    }
    for (const std::string& line : takeSystemLog()) all += " ! " + line.substr(16);
    return all;
  }
  void sleep() { notifications.post(kDeviceWillSleep); }

  SimProcessTable& table = handset.processes();
  ZVPacketTracker tracker{notifications, handset.systemLog(), handset.processInformation()};
};

TEST_F(PacketTrackerTest, DecodesWhatTheWirelessPartReports) {
  const std::string start = "WakeUP pAcket: \xCE\xB1 skipped unseen, whatever\n-";
  const std::string header = "4500003c1a2b400038" + std::string("11") + "ffffc0000207ff020304";
  const std::string decoded =
      "PacketDecoder version=IPv4; length=60; ttl=56; protocol=UDP; source=192.0.2.7; "
      "destination=255.2.3.4;";
  EXPECT_EQ(analyze(start + header + "003514e90028abcd (36 bytes) (not more)"),
            decoded +
                " source_port=53; dest_port=5353; length=40;\n"
                "PacketTracker error=Unable to find process with local port 5353;\n");
  // Without its end marked, a packet is cut before any transport header is whole, and what is cut
  // off is not looked at.
  EXPECT_EQ(analyze(start + header + "14e90028abcd\u03B1"), decoded + "\n ! UDP Packet too short");

  const std::string digits(47, '5');
  const std::string cut = "Wakeup Packet: 1234567890123456789012345678";
  const std::string pdp = "Dlci 1 [pdp_0]: " + digits;
  constexpr std::int32_t kBaseband = ZVPacketTracker::kBasebandWake;
  const struct {
    std::optional<std::string> text;
    std::int32_t type;
    const char* refusal;
  } cases[] = {
      {cut.substr(1), kBaseband, "Wake reason format unrecognized"},
      {"Wakeup packets", ZVPacketTracker::kWiFiWake, "Wake packet format unrecognized"},
      {cut.substr(0, 42), ZVPacketTracker::kWiFiWake, "Packet too short"},
      {cut, ZVPacketTracker::kWiFiWake, "Packet too short"},
      {cut + digits, ZVPacketTracker::kWiFiWake, "Packet too short"},
      {cut + digits + " (5)", ZVPacketTracker::kWiFiWake, "Packet too short"},
      {cut + digits + " ", ZVPacketTracker::kWiFiWake, "Non-hex character in packet   (0x20)"},
      {pdp + "\xED\xA0\x80", kBaseband, "Unicode character 0xfffd"},
      {pdp + "\xCE", kBaseband, "Unicode character 0xfffd"},
      {pdp + std::string(1, '\0'), kBaseband, "Non-hex character in packet \\x00 (0x0)"},
      {std::nullopt, 3, "Unknown Wake Type"},
      {std::nullopt, ZVPacketTracker::kWiFiWake, "Wake packet parameter nil"},
  };
  for (const auto& [text, type, refusal] : cases) {
    EXPECT_EQ(analyze(text, type), std::string(" ! ") + refusal) << text.value_or("nothing");
  }
  EXPECT_EQ(tracker.getPacketBasebandDlci("Dlci 5 [sms]: ", nullptr), std::nullopt);
  EXPECT_EQ(takeSystemLog(), Lines{"[PacketDecoder] Dlci parameter null"});
}

TEST_F(PacketTrackerTest, ReadsFields) {
  constexpr std::uint32_t kMaximum = std::numeric_limits<std::uint32_t>::max();
  const std::string tooLong = "(offset + length) greater than string length";
  const struct {
    std::string text;
    std::uint32_t cursor, length, field, after;
    std::string refusal;
  } cases[] = {
      {"z0fFaB012", 1, 4, 0x0FFAB012, 9, ""},
      {"7fg2", 2, 1, kMaximum, 2, "scanner failed parsing: g2"},
      {" 7\n8", 2, 1, kMaximum, 2, "scanner failed parsing: \\x0a8"},
      {"4500", 0, 0x80000000, kMaximum, 0, tooLong},
      {"4500", kMaximum - 1, 1, kMaximum, kMaximum - 1, tooLong},
      {"", 0, 0, kMaximum, 0, "length zero"},
  };
  for (auto [text, cursor, length, field, after, refusal] : cases) {
    EXPECT_EQ(tracker.hexStrtolOffsetLength(text, &cursor, length), field);
    EXPECT_EQ(cursor, after) << text;
    if (!refusal.empty()) refusal = "[PacketDecoder] hexStrtol " + refusal;
    EXPECT_EQ(takeSystemLog(), refusal.empty() ? Lines{} : Lines{refusal});
  }
}

// Starts processes right after their number was asked for. Some kernels leave the last place of a
// list free.
class GrowingProcesses : public SimProcessInformation {
 public:
  using SimProcessInformation::SimProcessInformation;
  ProcAnswer proc_listpids(std::span<std::int32_t> list) override {
    const auto room = lastPlaceIsFree && !list.empty() ? list.first(list.size() - 1) : list;
    const ProcAnswer answer = SimProcessInformation::proc_listpids(room);
    if (list.empty() && counted) std::exchange(counted, nullptr)();
    return answer;
  }
  std::function<void()> counted;
  bool lastPlaceIsFree = false;
};

TEST_F(PacketTrackerTest, FindsWhatOutgrewTheLastLook) {
  SimFaults faults;
  GrowingProcesses processes(faults, table);
  ZVPacketTracker growing(notifications, handset.systemLog(), processes);
  const auto startUpTo = [&](int last) {
    for (int pid = 1; pid <= last; ++pid) table.setProcess(pid, "idle");
  };
  startUpTo(90);
  for (int i = 0; i < 70; ++i) table.open(90, simUdpSocket("0.0.0.0:" + std::to_string(100 + i)));
  sleep();
  EXPECT_EQ(growing.findProcessWithPort(169), 0);
  // However many are started after they were counted: a list that fills its room, or all but one
  // place of it, may be cut.
  for (int last = 91; last <= 200; ++last) {
    processes.lastPlaceIsFree = last % 2 == 0;
    processes.counted = [&] {
      startUpTo(last);
      table.open(last, simUdpSocket("0.0.0.0:" + std::to_string(1000 + last)));
    };
    sleep();
    EXPECT_EQ(growing.findProcessWithPort(1000 + last), 0) << last;
  }
}

}  // namespace
}  // namespace zorva
