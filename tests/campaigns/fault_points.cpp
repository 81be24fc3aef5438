// SPDX-License-Identifier: Apache-2.0
// Lets every call that the loggers make of a simulated service fail, one at a time:
//
//     fault_points SCENARIO
//
// The scenario is replayed once for each call that it makes of each fault point. If the operation
// returns a result, it is also replayed with the least and with the greatest one at every call. A
// run must end, and the entries of loggers that do not depend on the failing service must be the
// same as without the fault. Prints a line for each point: its calls, how many of their failures
// showed in the log or on the system log, and what was lost. The status is 1 if anything was. Built
// with sanitizers it also finds bad memory accesses and leaks.

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "apps/DefaultLoggers.h"
#include "apps/ProcessSetUp.h"
#include "apps/SimRun.h"
#include "core/ZorvaMain.h"
#include "platform/assemble/SimHandset.h"
#include "platform/base/Descriptor.h"
#include "report/read/LogReader.h"

namespace {

using zorva::Descriptor;

// The entries that follow each battery notification, and the others about its health.
const std::set<std::string> kOnBatteryNews{
    "Battery",   "Bluetooth", "Network",  "ProcessMonitor", "WiFi",
    "Assertion", "Telephony", "Syncward", "Syslog",         "Baseband State Durations",
    "Config",    "Energy",    "Work"};

// For services whose failure may change any entry: only crashes and hangs are found then.
const std::set<std::string> kAnyEntry{"*"};

// The entries that may differ when a service fails, by the first part of the fault point's name.
const std::map<std::string, std::set<std::string>> kDependents{
    {"accessories", {"Accessory"}},
    {"accountSync", {"Syncward"}},
    {"accounts", kAnyEntry},
    {"applications", {"Application"}},
    {"audio", {"Audio"}},
    {"backlight", {"Display"}},
    {"battery", kOnBatteryNews},
    {"batteryUsage", {"Battery"}},
    {"bluetooth", {"Bluetooth"}},
    {"device", kAnyEntry},
    {"energy", {"Energy"}},
    {"suspend", {"Suspend", "Wakeup Sources"}},
    {"files", kAnyEntry},
    {"identity", {"Keepline", "KL Client"}},
    {"interfaces", {"Network"}},
    {"kernel", kAnyEntry},
    {"locale", {"Locale"}},
    {"location", {"Geodyne", "Geodyne Client"}},
    {"notifications", kAnyEntry},
    {"persistentConnections", {"Keepline", "KL Client"}},
    {"powerManagement", {"Assertion"}},
    {"preferences", kAnyEntry},
    {"processes", {"Assertion"}},
    {"processInformation", {"PacketTracker"}},
    {"profile", {"Config"}},
    {"push", {"NMXN", "NMX Event"}},
    {"reachability", {"Reachability"}},
    {"registry", kAnyEntry},
    {"runLoop", kAnyEntry},
    {"scheduledEvents", {"Schedule"}},
    {"statistics", {"ProcessMonitor"}},
    {"systemLogQueries", {"Syslog"}},
    {"systemPower",
     {"Sleep", "Wake", "Schedule", "PacketDecoder", "PacketTracker", "Baseband State Durations"}},
    {"telephony", {"Telephony", "Registration"}},
    {"telephonyServer",
     {"Telephony", "Registration", "Config", "Baseband State Durations", "Wake", "PacketDecoder",
      "PacketTracker"}},
    {"wifi", {"WiFi"}},
    {"wifiDriver", {"WiFi"}},
    {"work", {"Work"}},
};

std::string serviceOf(const std::string& point) {
  return point.substr(0, point.find('.'));
}

struct Fault {
  std::string point;  // empty: none
  int times = 1;
  int after = 0;
  std::optional<std::int64_t> result;
};

struct Outcome {
  std::string log;
  std::string systemLog;
};

// The log's entries by category. Pieces that are not entries have their own.
std::map<std::string, std::string> byCategory(const std::string& log) {
  std::map<std::string, std::string> entries;
  zorva::LogReader reader;
  reader.begin(zorva::readFrom(log));
  for (zorva::LogRecord record; reader.next(record);) {
    if (record.piece == zorva::LogPiece::Separator) continue;
    entries[std::string(record.category)] += record.raw;
  }
  return entries;
}

class Campaign {
 public:
  explicit Campaign(std::string scenario) : scenario_(std::move(scenario)) {}

  // Replays with one fault, or none. With `points`, counts the calls of each.
  std::optional<Outcome> replay(const Fault& fault, std::map<std::string, int>* points) const {
    const Descriptor output(::memfd_create("log", MFD_CLOEXEC));
    std::ostringstream systemLog;
    std::ostringstream said;
    int status = 0;
    const char* arguments[] = {"zorva-sim", scenario_.c_str(), nullptr};
    auto run = zorva::SimRun::fromArguments(2, arguments, status, said, systemLog);
    if (!run) {
      std::fputs(systemLog.str().c_str(), stderr);
      return std::nullopt;
    }
    auto& faults = run->handset().faults();
    std::map<std::string, int> before;
    for (const std::string& name : faults.names()) before[name] = faults.calls(name);
    if (!fault.point.empty() && faults.fail(fault.point, fault.times, fault.result, fault.after) !=
                                    zorva::SimFaults::Outcome::Armed) {
      return std::nullopt;
    }

    std::fflush(stdout);
    const Descriptor terminal(::dup(STDOUT_FILENO));
    ::dup2(output.get(), STDOUT_FILENO);
    zorva::ZorvaMain(run->zorvaArgumentCount(), run->zorvaArguments(),
                     {[&run] { return &run->platform(); }}, zorva::defaultLoggers());
    ::dup2(terminal.get(), STDOUT_FILENO);
    if (points != nullptr) {
      for (const auto& [name, count] : before) (*points)[name] = faults.calls(name) - count;
    }
    Outcome outcome{std::string(static_cast<std::size_t>(::lseek(output.get(), 0, SEEK_END)), '\0'),
                    systemLog.str()};
    if (::pread(output.get(), outcome.log.data(), outcome.log.size(), 0) < 0) return std::nullopt;
    return outcome;
  }

  // Describes what the entries of other loggers lost by the fault; empty if nothing.
  static std::string damage(const std::string& point, const Outcome& usual, const Outcome& failed) {
    const std::set<std::string>& dependents = kDependents.at(serviceOf(point));
    if (dependents == kAnyEntry) return {};
    auto wanted = byCategory(usual.log);
    auto found = byCategory(failed.log);
    std::set<std::string> categories;
    for (const auto* lines : {&wanted, &found}) {
      for (const auto& [category, text] : *lines) categories.insert(category);
    }
    std::string damaged;
    for (const std::string& category : categories) {
      if (category == "Zorva" || dependents.contains(category)) continue;
      if (wanted[category] != found[category]) damaged += " [" + category + "]";
    }
    return damaged;
  }

  static std::optional<zorva::SimFaultResults> resultsOf(const std::string& point) {
    static zorva::SimHandset handset;
    return handset.faults().results(point);
  }

  // Fails every call of one point; false if something was lost.
  bool failEachCall(const std::string& point, int calls, const Outcome& usual) const {
    int shown = 0;
    std::string damaged;
    std::vector<Fault> tries;
    for (int after = 0; after < calls; ++after) tries.push_back({point, 1, after, std::nullopt});
    if (const auto results = resultsOf(point)) {
      for (const auto result : {results->least, results->most}) {
        tries.push_back({point, calls, 0, result});
      }
    }
    for (const Fault& fault : tries) {
      const auto failed = replay(fault, nullptr);
      if (!failed) return false;
      if (failed->log != usual.log || failed->systemLog != usual.systemLog) ++shown;
      if (const std::string lost = damage(point, usual, *failed);
          !lost.empty() && damaged.empty()) {
        damaged = fault.result ? "  result " + std::to_string(*fault.result)
                               : "  call " + std::to_string(fault.after + 1);
        damaged += " damaged" + lost;
      }
    }
    std::printf("%-48s %5d calls, %5d showed%s\n", point.c_str(), calls, shown, damaged.c_str());
    std::fflush(stdout);
    return damaged.empty();
  }

 private:
  std::string scenario_;
};

// In a process of its own, so that a crash is one finding among others.
bool inChild(const std::string& point, int calls, const Campaign& campaign, const Outcome& usual) {
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child == 0) std::exit(campaign.failEachCall(point, calls, usual) ? 0 : 1);
  int status = 0;
  if (child < 0 || ::waitpid(child, &status, 0) != child) return false;
  if (WIFSIGNALED(status))
    std::printf("%-48s ended by signal %d\n", point.c_str(), WTERMSIG(status));
  return status == 0;
}

}  // namespace

int main(int argc, char** argv) {
  zorva::prepareProcess();
  if (argc != 2) {
    std::fprintf(stderr, "usage: fault_points SCENARIO\n");
    return 2;
  }
  const Campaign campaign(argv[1]);
  std::map<std::string, int> points;
  const auto usual = campaign.replay({}, &points);
  if (!usual) return 2;
  int failures = 0;
  int lost = 0;
  int never = 0;
  for (const auto& [point, calls] : points) {
    if (!kDependents.contains(serviceOf(point))) {
      ++lost;
      std::printf("%-48s has no service in kDependents\n", point.c_str());
      continue;
    }
    if (calls == 0) {
      ++never;
      std::printf("%-48s is never called in this scenario\n", point.c_str());
      continue;
    }
    failures += calls;
    if (!inChild(point, calls, campaign, *usual)) ++lost;
  }
  std::printf("%d failures in %zu points, %d points never called, %d points with losses\n",
              failures, points.size() - static_cast<std::size_t>(never), never, lost);
  return lost == 0 ? 0 : 1;
}
