// SPDX-License-Identifier: Apache-2.0
#include "wake/ZVPacketTracker.h"

#include <limits>

#include "core/SleepNotifications.h"
#include "tests/support/LoggerTest.h"

namespace zorva {
namespace {

using Bodies = ZVPacketTracker::Bodies;
using Body = Bodies::value_type;

// The first 20 bytes of every packet here: the first one and the protocol are to be put in.
std::string header(const std::string& first, const std::string& protocol) {
  return first + "00003c1a2b400038" + protocol + "ffffc0000207ff020304";
}
const std::string kStart = " version=IPv4; length=60; ttl=56;";
const std::string kAddresses = " source=192.0.2.7; destination=255.2.3.4;";
const std::string kUdp = "003514e90028abcd";  // from port 53 to port 5353

Body decoder(const std::string& body) {
  return {"PacketDecoder", body};
}
Body unknownPort(const std::string& port) {
  return {"PacketTracker", " error=Unable to find process with local port " + port + ";"};
}

class PacketTrackerTest : public LoggerTest {
 protected:
  std::optional<Bodies> analyze(const std::string& text) {
    return tracker.analyzePacketType(text, text.starts_with("Wake")
                                               ? ZVPacketTracker::kWiFiWake
                                               : ZVPacketTracker::kBasebandWake);
  }
  // What a wake by a packet for the port tells of its owner.
  std::string ownerOf(const std::string& hexPort) {
    const auto bodies =
        analyze("Dlci 1 [pdp_0]: " + header("45", "11") + "0035" + hexPort + "00080000");
    return bodies && bodies->size() == 2 ? bodies->back().second : "(no body)";
  }
  void sleep() { notifications.post(kDeviceWillSleep); }

  SimProcessTable& table = handset.processes();
  ZVPacketTracker tracker{notifications, handset.platform().systemLog,
                          handset.platform().processInformation};
};

TEST_F(PacketTrackerTest, DecodesWakeTexts) {
  const auto tcp = [](const std::string& flags) {
    return "Dlci 3 [pdp_0]: " + header("45", "06") + "03e1c000fffffffe0000000150" + flags + "ffff";
  };
  const std::string tcpBody = kStart + " protocol=TCP;" + kAddresses +
                              " source_port=993; dest_port=49152; seq=4294967294; ack=1; offset=5;"
                              " window=65535; control=";
  const std::string udpBody = kStart + " protocol=UDP;" + kAddresses;
  const std::string udpFields = " source_port=53; dest_port=5353; length=40;";
  const std::string wifi = "WakeUP pAcket: \xCE\xB1 skipped unseen, whatever\n-";
  const struct {
    std::string text;
    Bodies bodies;
  } cases[] = {
      {tcp("12"), {decoder(tcpBody + "xxxAxxSx;"), unknownPort("49152")}},
      {tcp("e9"), {decoder(tcpBody + "xxUxPxxF;"), unknownPort("49152")}},
      {tcp("D4"), {decoder(tcpBody + "xxxAxRxx;"), unknownPort("49152")}},
      // One word of options moves the transport header; longer ones do not.
      {"dLCI -12345678901234567890123 [pdp_]: " + header("46", "11") + "01020304" + kUdp,
       {decoder(udpBody + udpFields), unknownPort("5353")}},
      {"Dlci +0 [pdp_ctl2]: " + header("47", "11") + kUdp,
       {decoder(udpBody + udpFields), unknownPort("5353")}},
      {"Dlci 1 [pdp_0]: " + header("60", "01") + "08000000",
       {decoder(" version=IPv6; length=60; ttl=56; protocol=ICMP;" + kAddresses)}},
      {"Dlci 1 [pdp_0]: " + header("45", "84") + "08000000",
       {decoder(kStart + " protocol=Other (132);" + kAddresses)}},
      // The packet goes to two blanks; single ones may stand anywhere.
      {"Dlci 1 [pdp_0]:  4 5" + header("", "11") + " 00 35 00 00 00 28 ab cd  tail",
       {decoder(udpBody + " source_port=53; dest_port=0; length=40;")}},
      {wifi + header("45", "11") + kUdp + " (36 bytes) (not more)",
       {decoder(udpBody + udpFields), unknownPort("5353")}},
  };
  for (const auto& each : cases) EXPECT_EQ(analyze(each.text), each.bodies) << each.text;
  const std::pair<std::string, Lines> statuses[] = {
      {"Incoming SMS", {"sms]: ", "sms"}},
      {"Incoming Call", {"call]: +xCallStat: 1,4"}},
      {"Other DLCI (call)", {"call]: XCALLSTAT", "call"}},
      {"Other DLCI (pdp_ctl)", {"pdp_ctl]: 45 00"}},
      {"Other DLCI (PDP_0)", {"PDP_0]: 45 00"}},
      {"Other DLCI (a]:\\x0ab\uFFFD)", {"a]:\nb\xFF"}}};
  for (const auto& [status, rests] : statuses) {
    const Bodies expected{decoder(" status=" + status + ";")};
    for (const auto& rest : rests) EXPECT_EQ(analyze("Dlci 5 [" + rest), expected) << rest;
  }
  EXPECT_EQ(takeSystemLog(), Lines{});

  // Whole IPv4 headers with too little behind them.
  EXPECT_EQ(analyze("Dlci 1 [pdp_0]: " + header("45", "11") + kUdp.substr(8)),
            Bodies{decoder(udpBody)});
  EXPECT_EQ(analyze("Dlci 1 [pdp_0]: " + header("46", "06") + "01020304"),
            Bodies{decoder(kStart + " protocol=TCP;" + kAddresses)});
  // Without its end marked, a packet is cut before any transport header is whole, and what is cut
  // off is not looked at.
  EXPECT_EQ(analyze(wifi + header("45", "11") + kUdp.substr(4) + "\u03B1"),
            Bodies{decoder(udpBody)});
  EXPECT_EQ(takeSystemLog(),
            (Lines{"[PacketDecoder] UDP Packet too short", "[PacketDecoder] TCP Packet too short",
                   "[PacketDecoder] UDP Packet too short"}));
}

TEST_F(PacketTrackerTest, RefusesWakeTexts) {
  const std::string digits(47, '5');
  const std::string pdp = "Dlci 1 [pdp_0]: ";
  const std::string wifi = "Wakeup Packet: 1234567890123456789012345678";
  const std::pair<std::string, Lines> cases[] = {
      {"Wake reason format unrecognized",
       {"", "Dlci 3 pdp_0",
        "Dlci  3 [sms]: ", "Dlci +- [sms]: ", "Dlci 3  [sms]: ", wifi.substr(1)}},
      {"Wake type not found", {"Dlci 3 []: 45", "Dlci 3 ["}},
      {"Cannot parse out packet", {"Dlci 3 [pdp_0]", pdp + "  45"}},
      {"Wake packet format unrecognized", {"Wakeup packets"}},
      // Characters count, not bytes.
      {"Packet too short",
       {pdp + digits, pdp + "5 5 5", pdp + digits.substr(1) + "\u03B1", wifi.substr(0, 42), wifi,
        wifi + digits, wifi + digits + " (5)"}},
      {"Unicode character 0x3b1", {pdp + digits + "\u03B1"}},
      {"Unicode character 0x1f4f1", {pdp + digits + "\U0001F4F1x"}},
      {"Unicode character 0xfffd", {pdp + digits + "\xED\xA0\x80", pdp + digits + "\xCE"}},
      {"Non-hex character in packet \u00E9 (0xe9)", {pdp + digits + "\u00E9"}},
      {"Non-hex character in packet g (0x67)", {pdp + digits + "g\u03B1"}},
      {"Non-hex character in packet \\x00 (0x0)", {pdp + digits + std::string(1, '\0')}},
      {"Non-hex character in packet   (0x20)", {wifi + digits + " "}},
  };
  for (const auto& [refusal, texts] : cases) {
    for (const std::string& text : texts) {
      EXPECT_EQ(analyze(text), std::nullopt) << text;
      EXPECT_EQ(takeSystemLog(), Lines{"[PacketDecoder] " + refusal}) << text;
    }
  }

  std::int32_t kind = 77;
  EXPECT_EQ(tracker.analyzePacketType(std::nullopt, 3), std::nullopt);
  EXPECT_EQ(tracker.getPacketWoW(std::nullopt), std::nullopt);
  EXPECT_EQ(tracker.getPacketBasebandDlci(std::nullopt, nullptr), std::nullopt);
  EXPECT_EQ(tracker.getPacketBasebandDlci("Dlci 5 [sms]: ", nullptr), std::nullopt);
  EXPECT_EQ(tracker.getPacketBasebandDlci(pdp + digits, &kind), std::nullopt);
  EXPECT_EQ(kind, 77);
  EXPECT_EQ(takeSystemLog(),
            (Lines{"[PacketDecoder] Unknown Wake Type", "[PacketDecoder] Wake packet parameter nil",
                   "[PacketDecoder] Wake reason parameter nil",
                   "[PacketDecoder] Dlci parameter null", "[PacketDecoder] Packet too short"}));
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

TEST_F(PacketTrackerTest, KnowsTheSocketsAsBeforeTheLastSleep) {
  table.setProcess(0, "kernel");
  table.open(0, simUdpSocket("0.0.0.0:7"));
  table.setProcess(211, "demo");
  table.setPath(211, "/usr/bin/demo");
  table.open(211, std::nullopt);
  table.open(211, simTcpSocket("10.2.3.4:49152", "192.0.2.7:993", tcp::kEstablished));
  table.open(211, simTcpSocket("0.0.0.0:80", "0.0.0.0:0", tcp::kListen));
  table.open(211, simTcpSocket("1.2.3.4:81", "255.0.0.1:65535", tcp::kCloseWait));
  table.open(211, simTcpSocket("1.2.3.4:82", "255.0.0.1:1", tcp::kClosed));
  table.open(211, simTcpSocket("1.2.3.4:83", "255.0.0.1:1", tcp::kSynSent));
  table.open(211, simUdpSocket("0.0.0.0:5353"));
  table.open(211, simUdpSocket("10.2.3.4:5353"));
  socket_fdinfo other = simUdpSocket("0.0.0.0:8");
  other.soi_kind = 3;
  table.open(211, other);
  table.setProcess(300, "odd\n\xFF");
  table.open(300, simUdpSocket("0.0.0.0:5353", "9.8.7.6:5"));
  const std::string none = " error=Unable to find process with local port ";
  EXPECT_EQ(ownerOf("14e9"), none + "5353;") << "nobody slept yet";

  sleep();
  table.endProcess(300);
  table.open(211, simUdpSocket("0.0.0.0:9"));
  const std::string demo = " process=demo; path=/usr/bin/demo; pid=211; ";
  const std::pair<const char*, std::string> owners[] = {
      {"c000", demo + "tcp_status=ESTABLISHED; local=10.2.3.4:49152; remote=192.0.2.7:993;"},
      {"0050", demo + "tcp_status=LISTENING; local=0.0.0.0:80; remote=0.0.0.0:0;"},
      {"0051", demo + "tcp_status=CLOSE_WAIT; local=1.2.3.4:81; remote=255.0.0.1:65535;"},
      {"0052", demo + "tcp_status=CLOSED; local=1.2.3.4:82; remote=255.0.0.1:1;"},
      {"0053", demo + "tcp_status=STATE(2):; local=1.2.3.4:83; remote=255.0.0.1:1;"},
      {"14e9", " process=odd\\x0a\uFFFD; path=; pid=300; local=0.0.0.0:5353; remote=9.8.7.6:5;"},
      {"0007", none + "7;"},
      {"0008", none + "8;"},
      {"0009", none + "9;"},
  };
  for (const auto& [port, owner] : owners) EXPECT_EQ(ownerOf(port), owner);

  sleep();
  EXPECT_EQ(ownerOf("14e9"), demo + "local=10.2.3.4:5353; remote=0.0.0.0:0;");
  EXPECT_EQ(ownerOf("0009"), demo + "local=0.0.0.0:9; remote=0.0.0.0:0;");
  handset.faults().fail("processInformation.name", 5);  // of the last of five
  sleep();
  EXPECT_EQ(ownerOf("0009"),
            " process=; path=/usr/bin/demo; pid=211; local=0.0.0.0:9; remote=0.0.0.0:0;");
}

// Lets things happen in the middle of a look.
class WatchedProcesses : public SimProcessInformation {
 public:
  using SimProcessInformation::SimProcessInformation;

  ProcAnswer proc_name(std::int32_t process, std::span<char> name) override {
    if (reached) reached(process);
    return SimProcessInformation::proc_name(process, name);
  }

  ProcAnswer proc_listpids(std::span<std::int32_t> list) override {
    const ProcAnswer answer = SimProcessInformation::proc_listpids(list);
    if (list.empty() && counted) counted();
    return answer;
  }

  std::function<void(std::int32_t)> reached;
  std::function<void()> counted;
};

class SnapshotTest : public LoggerTest {
 protected:
  SnapshotTest() {
    for (const std::int32_t process : {1, 23, 45, 61}) table.endProcess(process);
  }
  void sleep() { notifications.post(kDeviceWillSleep); }

  SimProcessTable& table = handset.processes();
  SimFaults faults;
  WatchedProcesses processes{faults, table};
  ZVPacketTracker tracker{notifications, handset.systemLog(), processes};
};

TEST_F(SnapshotTest, GoesOnOrEndsWhereSomethingFails) {
  for (const std::int32_t process : {211, 212, 213}) {
    table.setProcess(process, "demo");
    table.open(process, std::nullopt);
    table.open(process, simUdpSocket("0.0.0.0:" + std::to_string(process)));
  }
  table.open(212, simUdpSocket("0.0.0.0:999"));
  using Ports = std::vector<int>;
  const std::string few = ") too few bytes; expected ";
  const struct {
    std::string point;
    std::int64_t result;
    std::int32_t inProcess;  // while it is looked at, or 0 for at the start
    std::string message;
    Ports found;
  } cases[] = {
      {"countProcesses", 13, 0, "Can't get PID byte count: 13", {}},
      {"listProcesses", 13, 0, "Can't get list of PIDs: 13", {}},
      {"taskInformation", 3, 211, "", {211, 213}},
      {"taskInformation", 13, 211, "PID 212 information error: 13", {211, 213}},
      {"taskInformationBytes",
       231,
       211,
       "PID 212: proc_pidinfo(PROC_PIDTASKALLINFO" + few + "232, got 231",
       {211}},
      {"openFiles", 1 << 28, 211, "PID 212: can't allocate space for 268435456 FDs", {211, 213}},
      {"descriptors", 3, 212, "", {211, 213}},
      {"socket", 9, 212, "PID 212, FD 1: socket error", {211, 213, 999}},
      {"socketBytes",
       791,
       212,
       "PID 212, FD 1: proc_pidfdinfo(PROC_PIDFDSOCKETINFO" + few + "792, got 791",
       {211}},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.point);
    const auto arm = [&] { faults.fail("processInformation." + each.point, 1, each.result); };
    if (each.inProcess == 0) arm();
    processes.reached = [&](std::int32_t process) {
      if (process == each.inProcess) arm();
    };
    sleep();
    EXPECT_EQ(takeSystemLog(),
              each.message.empty() ? Lines{} : Lines{"[PacketTracker] " + each.message});
    Ports found;
    for (const int port : {211, 212, 213, 999}) {
      if (tracker.findProcessWithPort(port) == 0) found.push_back(port);
    }
    EXPECT_EQ(found, each.found);
  }
}

TEST_F(SnapshotTest, FindsWhatOutgrewTheLastLook) {
  table.setProcess(1, "idle");
  sleep();
  for (int process = 1; process <= 90; ++process) table.setProcess(process, "idle");
  for (int i = 0; i < 70; ++i) table.open(90, simUdpSocket("0.0.0.0:" + std::to_string(100 + i)));
  sleep();
  EXPECT_EQ(tracker.findProcessWithPort(169), 0);

  processes.counted = [&] {  // more than there was room for are started after they were counted
    for (int process = 91; process <= 200; ++process) table.setProcess(process, "idle");
    table.open(200, simUdpSocket("0.0.0.0:99"));
  };
  sleep();
  EXPECT_EQ(tracker.findProcessWithPort(99), 0);
}

}  // namespace
}  // namespace zorva
