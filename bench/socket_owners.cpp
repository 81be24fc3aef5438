// SPDX-License-Identifier: Apache-2.0
// The snapshot of all sockets' owners that is taken before a sleep.
//
//     socket_owners [TIMES]     with TIMES: repeats it, and prints what one cost (bench/Measure.h)
//     socket_owners --check     checks that the owner of each "PORT PROCESS" on standard input
//     is found

#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "bench/Measure.h"
#include "core/NotificationCenter.h"
#include "core/SleepNotifications.h"
#include "platform/base/Text.h"
#include "platform/processes/linux/LinuxProcessInformation.h"
#include "wake/ZVPacketTracker.h"

namespace {

class StandardError : public zorva::SystemLog {
 public:
  void write(std::string_view message) override {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
  }
};

// A UDP packet to the port, as a modem reports it.
std::string wakeText(unsigned port) {
  return zorva::formatText(
      "Dlci 1 [pdp_0]: 45 00 00 1c 00 00 00 00 40 11 00 00 7f 00 00 01 7f 00 00 01 "
      "00 35 %02x %02x 00 08 00 00",
      port >> 8, port & 0xff);
}

// Whether the tracker names one of the processes that have the port. If the number is both a TCP
// and a UDP port, the tracker keeps the later process.
bool finds(zorva::ZVPacketTracker& tracker, unsigned port, const std::set<int>& processes) {
  const auto bodies = tracker.analyzePacketType(wakeText(port), 1);
  if (!bodies) return false;
  for (const int process : processes) {
    const std::string owner = zorva::formatText(" pid=%d;", process);
    if (bodies->back().second.find(owner) != std::string::npos) return true;
  }
  return false;
}

int check(zorva::ZVPacketTracker& tracker) {
  std::map<unsigned, std::set<int>> owners;
  unsigned port = 0;
  int process = 0;
  while (std::scanf("%u %d", &port, &process) == 2) owners[port].insert(process);
  for (const auto& [wanted, processes] : owners) {
    if (finds(tracker, wanted, processes)) continue;
    std::fprintf(stderr, "the owner of port %u was not found\n", wanted);
    return 1;
  }
  std::printf("%zu ports, each found with its process\n", owners.size());
  return owners.empty() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  zorva::NotificationCenter notifications;
  StandardError systemLog;
  zorva::LinuxProcessInformation processes;
  zorva::ZVPacketTracker tracker(notifications, systemLog, processes);
  const bool checks = argc > 1 && std::strcmp(argv[1], "--check") == 0;
  zorva::bench::repeat(argc > 1 && !checks ? argv[1] : nullptr,
                       [&] { notifications.post(zorva::kDeviceWillSleep); });
  return checks ? check(tracker) : 0;
}
