// SPDX-License-Identifier: Apache-2.0
// Wake texts of a modem, decoded to the bodies of their entries, which are printed.
//
//     wake_texts COUNT [TIMES]    decodes COUNT texts; with TIMES: repeats it, and prints the cost
//     wake_texts COUNT --pcap     writes the same packets as a capture file for other tools

#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench/Measure.h"
#include "core/NotificationCenter.h"
#include "platform/base/Text.h"
#include "platform/processes/linux/LinuxProcessInformation.h"
#include "wake/ZVPacketTracker.h"

namespace {

struct Silent : zorva::SystemLog {
  void write(std::string_view) override {}
};

using Packet = std::vector<std::uint8_t>;

// The first 40 bytes of the packet of this number: TCP and UDP in turn, from and to changing ports.
Packet packetOf(unsigned number) {
  const bool tcp = number % 2 == 0;
  Packet packet{0x45, 0, 0,   40, 0x3c, 0x1f, 0x40, 0,  52, std::uint8_t(tcp ? 6 : 17),
                0,    0, 198, 51, 100,  24,   10,   32, 7,  9};
  const auto add = [&](unsigned value, int bytes) {
    while (bytes-- > 0) packet.push_back(static_cast<std::uint8_t>(value >> 8 * bytes));
  };
  add(1024 + number % 50000, 2);
  add(1024 + number % 40000, 2);
  if (tcp) {
    for (const unsigned word : {number, number + 1}) add(word, 4);
    for (const unsigned half : {0x5018U, 1024U, 0U, 0U}) add(half, 2);
  } else {
    add(20, 2);
    add(0, 2);
    add(0, 4);
    add(0, 4);
    add(0, 4);
  }
  return packet;
}

std::string textOf(const Packet& packet) {
  std::string text = "Dlci 3 [pdp_0]:";
  for (const std::uint8_t byte : packet) text += zorva::formatText(" %02x", byte);
  return text;
}

void writeCapture(unsigned count) {
  constexpr std::uint32_t kRawIP = 101;
  const auto put = [](std::initializer_list<std::uint32_t> words) {
    for (const std::uint32_t word : words) std::fwrite(&word, sizeof word, 1, stdout);
  };
  put({0xa1b2c3d4, 2U | 4U << 16, 0, 0, 65535, kRawIP});
  for (unsigned number = 0; number < count; ++number) {
    const Packet packet = packetOf(number);
    const auto size = static_cast<std::uint32_t>(packet.size());
    put({1795000000 + number / 100, number % 100 * 10000, size, size});
    std::fwrite(packet.data(), 1, packet.size(), stdout);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int count = argc > 1 ? std::atoi(argv[1]) : 0;
  if (count < 1) {
    std::fprintf(stderr, "usage: wake_texts COUNT [TIMES | --pcap]\n");
    return 2;
  }
  const auto packets = static_cast<unsigned>(count);
  if (argc > 2 && std::strcmp(argv[2], "--pcap") == 0) {
    writeCapture(packets);
    return 0;
  }
  std::vector<std::string> texts;
  for (unsigned number = 0; number < packets; ++number) texts.push_back(textOf(packetOf(number)));
  zorva::NotificationCenter notifications;
  Silent systemLog;
  zorva::LinuxProcessInformation processes;
  zorva::ZVPacketTracker tracker(notifications, systemLog, processes);
  const auto decodeAll = [&] {
    for (const std::string& text : texts) {
      const auto bodies = tracker.analyzePacketType(text, zorva::ZVPacketTracker::kBasebandWake);
      if (!bodies) std::exit(1);
      for (const auto& [category, body] : *bodies) {
        std::fwrite(body.data(), 1, body.size(), stdout);
        std::fputc('\n', stdout);
      }
    }
  };
  zorva::bench::repeat(argc > 2 ? argv[2] : nullptr, decodeAll);
  return 0;
}
