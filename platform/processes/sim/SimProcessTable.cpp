// SPDX-License-Identifier: Apache-2.0
#include "platform/processes/sim/SimProcessTable.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::int64_t kMillion = 1000000;

// The most processors that one process may use at once.
constexpr double kMaxLoad = 64;

std::int64_t readLoad(const ScenarioNode& node) {
  return std::llround(node.number(0, kMaxLoad) * 1e6);
}

// Clamped to the kernel's range.
TimeValue timeValueOf(std::int64_t microseconds) {
  microseconds = std::min(microseconds, std::numeric_limits<std::int32_t>::max() * kMillion);
  return {static_cast<std::int32_t>(microseconds / kMillion),
          static_cast<std::int32_t>(microseconds % kMillion)};
}

struct StateName {
  const char* name;
  std::int32_t state;
};
constexpr StateName kStates[] = {
    {"closed", tcp::kClosed},           {"listening", tcp::kListen},
    {"syn_sent", tcp::kSynSent},        {"syn_received", tcp::kSynReceived},
    {"established", tcp::kEstablished}, {"close_wait", tcp::kCloseWait},
    {"fin_wait_1", tcp::kFinWait1},     {"closing", tcp::kClosing},
    {"last_ack", tcp::kLastAck},        {"fin_wait_2", tcp::kFinWait2},
    {"time_wait", tcp::kTimeWait}};

struct Address {
  std::array<std::uint8_t, 4> host{};
  std::uint16_t port = 0;
};

std::optional<Address> addressOf(const std::string& text) {
  const std::size_t colon = text.find(':');
  Address address;
  if (colon == text.npos ||
      inet_pton(AF_INET, text.substr(0, colon).c_str(), address.host.data()) != 1) {
    return std::nullopt;
  }
  const auto port = parseNumber<std::uint16_t>(std::string_view(text).substr(colon + 1));
  if (!port) return std::nullopt;
  address.port = *port;
  return address;
}

socket_fdinfo socketOf(std::int32_t kind, const std::string& local, const std::string& remote) {
  const auto here = addressOf(local);
  const auto there = addressOf(remote);
  if (!here || !there) throw std::invalid_argument(local + " to " + remote + " is no connection");
  socket_fdinfo socket;
  socket.soi_kind = kind;
  socket.insi_lport = htons(here->port);
  socket.insi_fport = htons(there->port);
  socket.insi_laddr = here->host;
  socket.insi_faddr = there->host;
  return socket;
}

std::string readAddress(const ScenarioNode& node) {
  if (!addressOf(node.text())) node.refuse("write an address and port, such as 10.2.3.4:49152");
  return node.text();
}

// Identifies a socket among those of one process in a scenario.
std::string nameOf(const socket_fdinfo& socket) {
  const auto& host = socket.insi_laddr;
  const char* kind = socket.soi_kind == kSocketKindTCP    ? "tcp"
                     : socket.soi_kind == kSocketKindIPv4 ? "udp"
                                                          : "other";
  return formatText("%s %d.%d.%d.%d:%d", kind, host[0], host[1], host[2], host[3],
                    ntohs(static_cast<std::uint16_t>(socket.insi_lport)));
}

socket_fdinfo readSocket(const ScenarioNode& node, const ScenarioNode::Keys& keys) {
  const auto* tcp = keys.find("tcp");
  const auto* udp = keys.find("udp");
  const auto* other = keys.find("other");
  const auto* remote = keys.find("remote");
  const auto* state = keys.find("state");
  if ((tcp != nullptr) + (udp != nullptr) + (other != nullptr) != 1) {
    node.refuse("a socket is one of tcp, udp and other");
  }
  if (state && !tcp) state->refuse("only a tcp socket has a state");
  if (remote && other) remote->refuse("only a tcp or udp socket has a remote address");
  const std::string there = remote ? readAddress(*remote) : "0.0.0.0:0";
  if (udp) return simUdpSocket(readAddress(*udp), there);
  if (other) {
    other->mark();
    return {};
  }
  std::int32_t number = remote ? tcp::kEstablished : tcp::kListen;
  if (state) {
    const auto* known = std::find_if(std::begin(kStates), std::end(kStates),
                                     [&](const auto& each) { return state->text() == each.name; });
    if (known == std::end(kStates)) {
      std::string names;
      for (const StateName& each : kStates)
        names += std::string(names.empty() ? "" : ", ") + each.name;
      state->refuse("a tcp socket has no such state; use one of: " + names);
    }
    number = known->state;
  }
  return simTcpSocket(readAddress(*tcp), there, number);
}

}  // namespace

socket_fdinfo simTcpSocket(const std::string& local, const std::string& remote,
                           std::int32_t state) {
  socket_fdinfo socket = socketOf(kSocketKindTCP, local, remote);
  socket.tcpsi_state = state;
  return socket;
}

socket_fdinfo simUdpSocket(const std::string& local, const std::string& remote) {
  return socketOf(kSocketKindIPv4, local, remote);
}

SimProcessTable::SimProcessTable(SimParts& parts, SimSystemStatistics& statistics)
    : statistics_(statistics), commandNameFault_(parts.faults, "processes.commandName") {
  parts.sections.addStart("processes", [this](const ScenarioNode& node) {
    planned().clear();
    const ScenarioAction each =
        eachOf(node.list(), [this](const ScenarioNode& item) { return readProcess(item); });
    return inTurn({[this] { clear(); }, each});
  });
  parts.sections.addStep("processes", [this](const ScenarioNode& node) { return readStep(node); });
  parts.sections.addStep("sockets", [this](const ScenarioNode& node) { return readSockets(node); });
}

void SimProcessTable::setProcess(pid_t pid, const std::string& name, double cpuSeconds) {
  processes_[pid] = {.name = name.substr(0, 16), .path = "", .descriptors = {}};
  statistics_.setTask(pid, processes_[pid].name, timeValueOf(std::llround(cpuSeconds * 1e6)));
}

void SimProcessTable::setPath(pid_t pid, const std::string& path) {
  processes_.at(pid).path = path;
  statistics_.task(pid).executablePath = path;
}

void SimProcessTable::open(pid_t pid, const std::optional<socket_fdinfo>& socket) {
  auto& descriptors = processes_.at(pid).descriptors;
  std::int32_t number = 0;
  while (descriptors.contains(number)) ++number;
  descriptors.emplace(number, socket);
}

void SimProcessTable::close(pid_t pid, const std::string& socket) {
  auto& descriptors = processes_.at(pid).descriptors;
  const auto found = std::find_if(descriptors.begin(), descriptors.end(), [&](const auto& each) {
    return each.second && nameOf(*each.second) == socket;
  });
  if (found != descriptors.end()) descriptors.erase(found);
}

void SimProcessTable::endProcess(pid_t pid) {
  processes_.erase(pid);
  statistics_.removeTask(pid);
}

void SimProcessTable::addCpuTime(pid_t pid, std::chrono::microseconds time) {
  TimeValue& total = statistics_.task(pid).sample.basic.userTime;
  total = timeValueOf(total.seconds * kMillion + total.microseconds + time.count());
  cpuTime_.notify(pid, processes_.at(pid), time);
}

void SimProcessTable::compute(std::chrono::microseconds time) {
  for (auto& [pid, process] : processes_) {
    if (process.load == 0) continue;
    const std::int64_t fraction = time.count() % kMillion * process.load + process.loadRest;
    process.loadRest = fraction % kMillion;
    const std::int64_t used = time.count() / kMillion * process.load + fraction / kMillion;
    if (used > 0) addCpuTime(pid, std::chrono::microseconds(used));
  }
}

void SimProcessTable::clear() {
  while (!processes_.empty()) endProcess(processes_.begin()->first);
}

std::map<std::int32_t, SimProcessTable::PlannedSockets>& SimProcessTable::planned() {
  if (!planned_) {
    planned_.emplace();
    for (const auto& [id, pid] : processes_) {
      PlannedSockets& sockets = (*planned_)[id];
      for (const auto& [number, socket] : pid.descriptors) {
        if (socket) sockets.insert(nameOf(*socket));
      }
    }
  }
  return *planned_;
}

ScenarioAction SimProcessTable::readProcess(const ScenarioNode& node) {
  const auto keys =
      node.keys({"id", "name", "cpu_time", "path", "open_files", "sockets", "load", "unit"});
  const auto pid = static_cast<std::int32_t>(keys.require("id").integer(0, INT32_MAX));
  const auto* cpuTime = keys.find("cpu_time");
  const auto* path = keys.find("path");
  const auto* files = keys.find("open_files");
  const auto* sockets = keys.find("sockets");
  const auto* load = keys.find("load");
  const auto* unit = keys.find("unit");
  const auto [plan, isNew] = planned().try_emplace(pid);
  if (!isNew) keys.require("id").refuse("a process has this id already");
  std::vector<std::optional<socket_fdinfo>> descriptors(
      static_cast<std::size_t>(files ? files->integer(0, 1024) : 0));
  if (sockets) {
    for (const ScenarioNode& each : sockets->oneOrMore()) {
      descriptors.emplace_back(
          readSocket(each, each.keys({"tcp", "udp", "other", "remote", "state"})));
      plan->second.insert(nameOf(*descriptors.back()));
    }
  }
  return
      [this, pid, name = keys.require("name").text(), seconds = cpuTime ? cpuTime->seconds() : 0.0,
       executable = path ? path->text() : std::string(), share = load ? readLoad(*load) : 0,
       unitName = unit ? unit->text() : std::string(), descriptors] {
        setProcess(pid, name, seconds);
        if (!executable.empty()) setPath(pid, executable);
        for (const auto& descriptor : descriptors) open(pid, descriptor);
        setLoad(pid, share);
        setUnit(pid, unitName);
      };
}

std::int32_t SimProcessTable::readId(const ScenarioNode& node) {
  const auto pid = static_cast<std::int32_t>(node.integer(0, INT32_MAX));
  if (!planned().contains(pid)) node.refuse("no process has this id at that time");
  return pid;
}

ScenarioAction SimProcessTable::readSockets(const ScenarioNode& node) {
  const auto readOpen = [this](const ScenarioNode& opened) -> ScenarioAction {
    const auto keys = opened.keys({"process", "tcp", "udp", "other", "remote", "state"});
    const pid_t pid = readId(keys.require("process"));
    const socket_fdinfo socket = readSocket(opened, keys);
    planned().at(pid).insert(nameOf(socket));
    return [this, pid, socket] { open(pid, socket); };
  };
  return node.actions(
      {{"open",
        [readOpen](const ScenarioNode& opened) { return eachOf(opened.oneOrMore(), readOpen); }},
       {"close", [this](const ScenarioNode& closed) {
          return eachOf(closed.oneOrMore(),
                        [this](const ScenarioNode& item) { return readClose(item); });
        }}});
}

ScenarioAction SimProcessTable::readClose(const ScenarioNode& node) {
  const auto keys = node.keys({"process", "tcp", "udp", "other"});
  const pid_t pid = readId(keys.require("process"));
  const std::string socket = nameOf(readSocket(node, keys));
  PlannedSockets& sockets = planned().at(pid);
  const auto found = sockets.find(socket);
  if (found == sockets.end()) node.refuse("the process has no such socket at that time");
  sockets.erase(found);
  return [this, pid, socket] { close(pid, socket); };
}

ScenarioAction SimProcessTable::readStep(const ScenarioNode& node) {
  const auto idOf = [this](const ScenarioNode& id) { return readId(id); };
  return node.actions(
      {{"start",
        [this](const ScenarioNode& started) {
          return eachOf(started.oneOrMore(),
                        [this](const ScenarioNode& item) { return readProcess(item); });
        }},
       {"end",
        [this, idOf](const ScenarioNode& ended) {
          return eachOf(ended.oneOrMore(), [this, idOf](const ScenarioNode& id) -> ScenarioAction {
            const pid_t pid = idOf(id);
            planned().erase(pid);
            return [this, pid] { endProcess(pid); };
          });
        }},
       {"load",
        [this, idOf](const ScenarioNode& loads) {
          return eachEntryOf(
              loads,
              [this, idOf](const ScenarioNode& id, const ScenarioNode& share) -> ScenarioAction {
                return [this, pid = idOf(id), load = readLoad(share)] { setLoad(pid, load); };
              });
        }},
       {"add_cpu_time", [this, idOf](const ScenarioNode& times) {
          return eachEntryOf(
              times,
              [this, idOf](const ScenarioNode& id, const ScenarioNode& time) -> ScenarioAction {
                return [this, pid = idOf(id), used = time.duration()] { addCpuTime(pid, used); };
              });
        }}});
}

}  // namespace zorva
