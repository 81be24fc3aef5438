// What an entry of the process monitor costs, beside the tool that people would use instead:
//
//     process_snapshot [ROUNDS [PROCESSES]]     (15 rounds, 1000 processes)
//
// Starts the sleeping processes itself and ends them again. In each round a fresh process of this
// program takes one snapshot (sample, sort, body), and then "ps -eo pid,comm,cputimes" runs with
// its output thrown away. The CPU times, user and system from start to end, are the kernel's own
// account of each child. Prints the medians, how far the rounds lie apart, and the ratio.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <signal.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/AccountDatabase.h"
#include "platform/linux/LinuxSystemStatistics.h"
#include "process/ZVProcessMonitor.h"

namespace {

// A snapshot asks for no user names.
struct NoAccounts : zorva::AccountDatabase {
  std::optional<Ids> idsOfUser(const std::string&) override { return std::nullopt; }
  std::optional<std::string> nameOfUser(uid_t) override { return std::nullopt; }
};

int takeSnapshot() {
  zorva::LinuxSystemStatistics statistics;
  NoAccounts accounts;
  const std::string body = zorva::ZVProcessMonitor::sampleBody(statistics, accounts);
  std::puts(body.c_str());
  return body.empty() ? 1 : 0;
}

class Sleepers {
 public:
  explicit Sleepers(int count) {
    const pid_t parent = getpid();
    for (int i = 0; i < count; ++i) {
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
    }
  }
  Sleepers(const Sleepers&) = delete;
  Sleepers& operator=(const Sleepers&) = delete;
  ~Sleepers() {
    for (const pid_t process : processes_) kill(process, SIGKILL);
    for (const pid_t process : processes_) waitpid(process, nullptr, 0);
  }
  std::size_t count() const { return processes_.size(); }

 private:
  std::vector<pid_t> processes_;
};

double milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
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
  return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
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
  if (argc == 2 && std::strcmp(argv[1], "--snapshot") == 0) return takeSnapshot();
  if (argc == 2 && std::strcmp(argv[1], "--nothing") == 0) return 0;
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 15;
  const int processes = argc > 2 ? std::atoi(argv[2]) : 1000;
  if (rounds < 1 || processes < 0 || argc > 3) {
    std::fprintf(stderr, "usage: process_snapshot [ROUNDS [PROCESSES]]\n");
    return 2;
  }

  const Sleepers sleepers(processes);
  if (sleepers.count() != static_cast<std::size_t>(processes)) return 1;
  std::vector<double> ours;
  std::vector<double> starts;
  std::vector<double> theirs;
  std::vector<double> ratios;
  for (int round = -1; round < rounds; ++round) {
    const auto our = cpuTimeOf({"/proc/self/exe", "--snapshot"});
    const auto start = cpuTimeOf({"/proc/self/exe", "--nothing"});
    const auto their = cpuTimeOf({"ps", "-eo", "pid,comm,cputimes"});
    if (!our || !start || !their) {
      std::fprintf(stderr, "%s failed\n", our && start ? "ps" : "the snapshot");
      return 1;
    }
    if (round < 0) continue;  // warms the caches of the kernel
    ours.push_back(*our);
    starts.push_back(*start);
    theirs.push_back(*their);
    ratios.push_back(*our / *their);
  }
  std::printf("%zu sleeping processes started, %d rounds, CPU time of a fresh process each\n",
              sleepers.count(), rounds);
  report("snapshot", ours);
  report("  of it the program's start", starts);
  report("ps -eo pid,comm,cputimes", theirs);
  const auto [least, most] = std::minmax_element(ratios.begin(), ratios.end());
  std::printf("ratio of the medians %.3f, of single rounds %.3f to %.3f; without the start %.3f\n",
              median(ours) / median(theirs), *least, *most,
              (median(ours) - median(starts)) / median(theirs));
  return 0;
}
