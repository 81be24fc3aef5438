// What the snapshot of all socket owners before a sleep costs, beside the tool that people would
// use instead:
//
//     socket_owners [ROUNDS [PROCESSES]]     (15 rounds, 1000 processes)
//
// Starts sleeping processes, each with two listening TCP sockets and a UDP socket on loopback, sees
// that a snapshot finds every one of their ports with the right process, and ends them again. In
// each round a fresh process of this program takes one snapshot, and then "ss -tunap" runs with its
// output thrown away. The CPU times, user and system from start to end, are the kernel's own
// account of each child. Prints the medians, how far the rounds lie apart, and the ratio.

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <optional>
#include <signal.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "core/NotificationCenter.h"
#include "core/SleepNotifications.h"
#include "platform/Text.h"
#include "platform/linux/LinuxProcessInformation.h"
#include "platform/support/Descriptor.h"
#include "wake/ZVPacketTracker.h"

namespace {

using zorva::Descriptor;

class StandardError : public zorva::SystemLog {
 public:
  void write(std::string_view message) override {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
  }
};

// The tracker on this machine, with a snapshot.
class Snapshot {
 public:
  Snapshot() { take(); }
  void take() { notifications_.post(zorva::kDeviceWillSleep); }
  zorva::ZVPacketTracker& tracker() { return tracker_; }

 private:
  zorva::NotificationCenter notifications_;
  StandardError systemLog_;
  zorva::LinuxProcessInformation processes_;
  zorva::ZVPacketTracker tracker_{notifications_, systemLog_, processes_};
};

// Bound to a port of loopback that the kernel chooses; the port, or 0.
int openSocket(int type, Descriptor& made) {
  made = Descriptor(socket(AF_INET, type, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  if (!made || bind(made.get(), any, length) != 0 || getsockname(made.get(), any, &length) != 0 ||
      (type == SOCK_STREAM && listen(made.get(), 1) != 0)) {
    std::perror("socket");
    return 0;
  }
  return ntohs(address.sin_port);
}

class Owners {
 public:
  explicit Owners(int count) {
    const pid_t parent = getpid();
    for (int i = 0; i < count; ++i) {
      std::array<Descriptor, 3> sockets;
      std::array<int, 3> ports{};
      for (std::size_t n = 0; n < sockets.size(); ++n) {
        ports[n] = openSocket(n == 2 ? SOCK_DGRAM : SOCK_STREAM, sockets[n]);
        if (ports[n] == 0) return;
      }
      const pid_t process = fork();
      if (process < 0) {
        std::perror("fork");
        return;
      }
      if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(0);
        for (;;) pause();
      }
      processes_.push_back(process);
      for (const int port : ports) owners_.emplace_back(port, process);
    }
  }
  Owners(const Owners&) = delete;
  Owners& operator=(const Owners&) = delete;
  ~Owners() {
    for (const pid_t process : processes_) kill(process, SIGKILL);
    for (const pid_t process : processes_) waitpid(process, nullptr, 0);
  }
  std::size_t count() const { return processes_.size(); }

  // Whether a snapshot names each socket's owner. One number may be a TCP and a UDP port, of which
  // the later process's is kept.
  bool allFound() const {
    Snapshot snapshot;
    for (const auto& [port, process] : owners_) {
      const auto bodies = snapshot.tracker().analyzePacketType(wakeText(port), 1);
      const auto names = [&](pid_t owner) {
        return bodies && bodies->back().second.find(zorva::formatText(" pid=%d;", owner)) !=
                             std::string::npos;
      };
      const int wanted = port;
      if (std::none_of(owners_.begin(), owners_.end(), [&](const auto& owner) {
            return owner.first == wanted && names(owner.second);
          })) {
        std::fprintf(stderr, "port %d of process %d was not found\n", port, process);
        return false;
      }
    }
    return true;
  }

 private:
  // A UDP packet to the port.
  static std::string wakeText(int port) {
    return zorva::formatText(
        "Dlci 1 [pdp_0]: 45 00 00 1c 00 00 00 00 40 11 00 00 7f 00 00 01 7f 00 00 01 "
        "00 35 %02x %02x 00 08 00 00",
        static_cast<unsigned>(port) >> 8, static_cast<unsigned>(port) & 0xff);
  }

  std::vector<pid_t> processes_;
  std::vector<std::pair<int, pid_t>> owners_;  // by port
};

double milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

double cpuTime(const rusage& usage) {
  return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

// CPU milliseconds of a snapshot in this process, as the daemon takes it: not the first one.
double cpuTimeOf(Snapshot& snapshot) {
  rusage before{};
  rusage after{};
  getrusage(RUSAGE_SELF, &before);
  snapshot.take();
  getrusage(RUSAGE_SELF, &after);
  return cpuTime(after) - cpuTime(before);
}

// CPU milliseconds of the program; nothing when it fails.
std::optional<double> cpuTimeOf(std::vector<const char*> arguments) {
  arguments.push_back(nullptr);
  const pid_t process = fork();
  if (process < 0) return std::nullopt;
  if (process == 0) {
    const int nowhere = open("/dev/null", O_WRONLY);
    if (nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0) _exit(126);
    execvp(arguments[0], const_cast<char* const*>(arguments.data()));
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (wait4(process, &status, 0, &usage) != process || status != 0) return std::nullopt;
  return cpuTime(usage);
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

void report(const char* what, const std::vector<double>& times) {
  const auto [least, most] = std::minmax_element(times.begin(), times.end());
  const double middle = median(times);
  std::printf("%-28s median %7.2f ms, %7.2f to %7.2f ms (spread %.0f%%)\n", what, middle, *least,
              *most, (*most - *least) / middle * 100);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--snapshot") == 0) {
    const Snapshot snapshot;
    return 0;
  }
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 15;
  const int processes = argc > 2 ? std::atoi(argv[2]) : 1000;
  if (rounds < 1 || processes < 0 || argc > 3) {
    std::fprintf(stderr, "usage: socket_owners [ROUNDS [PROCESSES]]\n");
    return 2;
  }

  const Owners owners(processes);
  if (owners.count() != static_cast<std::size_t>(processes) || !owners.allFound()) return 1;
  Snapshot snapshot;
  std::vector<double> ours;
  std::vector<double> daemons;
  std::vector<double> theirs;
  std::vector<double> ratios;
  for (int round = -1; round < rounds; ++round) {
    const auto our = cpuTimeOf({"/proc/self/exe", "--snapshot"});
    const double daemon = cpuTimeOf(snapshot);
    const auto their = cpuTimeOf({"ss", "-tunap"});
    if (!our || !their) {
      std::fprintf(stderr, "%s failed\n", our ? "ss" : "the snapshot");
      return 1;
    }
    if (round < 0) continue;  // warms the caches of the kernel
    ours.push_back(*our);
    daemons.push_back(daemon);
    theirs.push_back(*their);
    ratios.push_back(*our / *their);
  }
  std::printf("%zu processes with %zu sockets started, every port found with its process\n",
              owners.count(), 3 * owners.count());
  std::printf("%d rounds, CPU time of a fresh process each\n", rounds);
  report("snapshot", ours);
  report("snapshot in the daemon", daemons);
  report("ss -tunap", theirs);
  const auto [least, most] = std::minmax_element(ratios.begin(), ratios.end());
  std::printf("ratio of the medians %.3f, of single rounds %.3f to %.3f; in the daemon %.3f\n",
              median(ours) / median(theirs), *least, *most, median(daemons) / median(theirs));
  return 0;
}
