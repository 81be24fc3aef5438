// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstdio>
#include <limits>

#include "core/SleepNotifications.h"
#include "platform/base/Text.h"
#include "wake/ZVPacketTracker.h"

namespace zorva {
namespace {

constexpr std::int64_t kStep = 128;  // bytes by which Pids grows
constexpr int kIdSize = sizeof(std::int32_t);
constexpr int kDescriptorSize = sizeof(proc_fdinfo);
// The maximum length of a name and of a path, in bytes.
constexpr std::size_t kMaxNameLength = 64;
constexpr std::size_t kMaxPathLength = 1024;

// A capacity is a signed 32-bit number.
bool fits(std::int64_t bytes) {
  return bytes <= std::numeric_limits<std::int32_t>::max();
}

template <std::size_t kSize>
std::string textOf(const std::array<char, kSize>& bytes, const ProcAnswer& answer) {
  const auto length = static_cast<std::size_t>(std::max(answer.bytes, 0));
  return safeText({bytes.data(), std::min(length, kSize)});
}

}  // namespace

ZVPacketTracker::ZVPacketTracker(NotificationCenter& notifications, SystemLog& systemLog,
                                 ProcessInformation& processes)
    : systemLog_(systemLog), processes_(processes) {
  willSleep_ = notifications.observe(
      kDeviceWillSleep, [this](const Notification& notification) { buildFDTable(notification); });
}

int ZVPacketTracker::findProcessWithPort(std::int32_t port) {
  const auto found = processFDs_.find(std::to_string(port));
  if (found == processFDs_.end()) return -1;
  processLog_ += found->second;
  return 0;
}

void ZVPacketTracker::buildFDTable(const Notification& /*notification*/) {
  processFDs_.clear();
  const int count = getPids();
  if (count < 0) return;
  for (const pid_t pid : Pids_.room(count * kIdSize)) {
    if (pid != 0 && !addProcess(pid)) return;
  }
}

bool ZVPacketTracker::addProcess(pid_t pid) {
  proc_taskallinfo information;
  const ProcAnswer answer = processes_.proc_pidinfo(pid, information);
  if (answer.bytes <= 0) {
    if (answer.error != kNoSuchProcess) {
      systemLog_.write(
          formatText("[PacketTracker] PID %d information error: %d", pid, answer.error));
    }
    return true;
  }
  if (answer.bytes < kProcTaskAllInfoSize) {
    systemLog_.write(
        formatText("[PacketTracker] PID %d: proc_pidinfo(PROC_PIDTASKALLINFO) too few bytes; "
                   "expected %ld, got %d",
                   pid, long{kProcTaskAllInfoSize}, answer.bytes));
    return false;
  }
  std::array<char, kMaxNameLength> name;
  std::array<char, kMaxPathLength> path;
  std::string owner;
  owner += formatText(" process=%s;", textOf(name, processes_.proc_name(pid, name)).c_str());
  owner += formatText(" path=%s;", textOf(path, processes_.proc_pidpath(pid, path)).c_str());
  owner += formatText(" pid=%d;", pid);

  const int count = getFdsWithPid(information, pid);
  if (count < 0) return true;
  for (const proc_fdinfo& descriptor : Fds_.room(count * kDescriptorSize)) {
    if (descriptor.proc_fdtype == kDescriptorIsSocket &&
        !addSocket(pid, descriptor.proc_fd, owner)) {
      return false;
    }
  }
  return true;
}

bool ZVPacketTracker::addSocket(pid_t pid, std::int32_t descriptor, const std::string& owner) {
  const ProcAnswer answer = processes_.proc_pidfdinfo(pid, descriptor, si_);
  if (answer.bytes <= 0) {
    systemLog_.write(formatText("[PacketTracker] PID %d, FD %d: socket error", pid, descriptor));
    return true;
  }
  if (answer.bytes < kSocketFdInfoSize) {
    systemLog_.write(formatText(
        "[PacketTracker] PID %d, FD %d: proc_pidfdinfo(PROC_PIDFDSOCKETINFO) too few bytes; "
        "expected %ld, got %d",
        pid, descriptor, long{kSocketFdInfoSize}, answer.bytes));
    return false;
  }
  if (si_.soi_kind != kSocketKindIPv4 && si_.soi_kind != kSocketKindTCP) return true;

  // Sleep waits for this: nothing is allocated except the stored texts.
  std::array<char, 64> status{};
  if (si_.soi_kind == kSocketKindTCP) {
    const char* known = nullptr;
    switch (si_.tcpsi_state) {
      case tcp::kClosed:
        known = "CLOSED";
        break;
      case tcp::kListen:
        known = "LISTENING";
        break;
      case tcp::kEstablished:
        known = "ESTABLISHED";
        break;
      case tcp::kCloseWait:
        known = "CLOSE_WAIT";
        break;
    }
    std::array<char, 24> other;
    std::snprintf(other.data(), other.size(), "STATE(%d):", si_.tcpsi_state);
    std::snprintf(status.data(), status.size(), " tcp_status=%s;", known ? known : other.data());
  }
  const auto& local = si_.insi_laddr;
  const auto& remote = si_.insi_faddr;
  const int localPort = ntohs(static_cast<std::uint16_t>(si_.insi_lport));
  const int remotePort = ntohs(static_cast<std::uint16_t>(si_.insi_fport));
  std::array<char, 128> addresses;
  std::snprintf(addresses.data(), addresses.size(), " local=%d.%d.%d.%d:%d; remote=%d.%d.%d.%d:%d;",
                local[0], local[1], local[2], local[3], localPort, remote[0], remote[1], remote[2],
                remote[3], remotePort);
  std::string& line = processFDs_[std::to_string(localPort)];
  line.clear();
  line.reserve(owner.size() + std::string_view(status.data()).size() +
               std::string_view(addresses.data()).size());
  line.append(owner).append(status.data()).append(addresses.data());
  return true;
}

bool ZVPacketTracker::growPids(std::int64_t bytes) {
  if (fits(bytes) && Pids_.grow(static_cast<std::int32_t>(bytes))) {
    NbPids_ = static_cast<std::int32_t>(bytes);
    return true;
  }
  // NbPids keeps the size of the existing buffer.
  systemLog_.write(formatText("[PacketTracker] Can't allocate space for %d PIDs",
                              static_cast<int>(bytes / kIdSize)));
  return false;
}

int ZVPacketTracker::getPids() {
  const ProcAnswer needed = processes_.proc_listpids({});
  if (needed.bytes <= 0) {
    systemLog_.write(formatText("[PacketTracker] Can't get PID byte count: %d", needed.error));
    return -1;
  }
  if (needed.bytes > NbPids_) {
    const std::int64_t missing = std::int64_t{needed.bytes} - NbPids_;
    if (!growPids(NbPids_ + (missing + kStep - 1) / kStep * kStep)) return -1;
  }
  while (true) {
    const ProcAnswer filled = processes_.proc_listpids(Pids_.room(NbPids_));
    if (filled.bytes <= 0) {
      systemLog_.write(formatText("[PacketTracker] Can't get list of PIDs: %d", filled.error));
      return -1;
    }
    // If the buffer is full, the list may have been truncated.
    if (std::int64_t{filled.bytes} + kIdSize < NbPids_) return filled.bytes / kIdSize;
    if (!growPids(NbPids_ + kStep)) return -1;
  }
}

int ZVPacketTracker::getFdsWithPid(proc_taskallinfo information, pid_t pid) {
  const std::int64_t needed = std::int64_t{information.openFiles} * kDescriptorSize;
  if (Fds_.absent() || NbFds_ < needed) {
    if (!fits(needed) || !Fds_.grow(static_cast<std::int32_t>(needed))) {
      // NbFds stays what there is room for.
      systemLog_.write(formatText("[PacketTracker] PID %d: can't allocate space for %u FDs", pid,
                                  information.openFiles));
      return -1;
    }
    NbFds_ = static_cast<std::int32_t>(needed);
  }
  const ProcAnswer filled = processes_.proc_pidinfo(pid, Fds_.room(NbFds_));
  return filled.bytes > 0 ? filled.bytes / kDescriptorSize : -1;
}

}  // namespace zorva
