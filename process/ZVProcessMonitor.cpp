// SPDX-License-Identifier: Apache-2.0
#include "process/ZVProcessMonitor.h"

#include "platform/base/Text.h"
#include "process/libtally.h"

namespace zorva {
namespace {

// More than most fields need, so that the body is allocated once.
constexpr std::size_t kFieldLength = 24;

int busiestFirst(void*, const LibtallyProcess& placed, const LibtallyProcess& other) {
  const std::int32_t a = placed.totalTime.current.seconds;
  const std::int32_t b = other.totalTime.current.seconds;
  if (a > b) return -1;
  return a < b ? 1 : 0;
}

}  // namespace

std::unique_ptr<ZVProcessMonitor> ZVProcessMonitor::logger(const Services& services,
                                                           SystemStatistics& statistics,
                                                           AccountDatabase& accounts) {
  return std::unique_ptr<ZVProcessMonitor>(new ZVProcessMonitor(services, statistics, accounts));
}

ZVProcessMonitor::ZVProcessMonitor(const Services& services, SystemStatistics& statistics,
                                   AccountDatabase& accounts)
    : ZVLogger(services), statistics_(statistics), accounts_(accounts) {
  logOnBatteryLevel();
}

void ZVProcessMonitor::log() {
  logEntryWithBody("ProcessMonitor", sampleBody(statistics_, accounts_));
}

std::string ZVProcessMonitor::sampleBody(SystemStatistics& statistics, AccountDatabase& accounts) {
  std::string body;
  libtally_use(statistics, accounts);
  if (libtally_init(nullptr, nullptr) != 0) return body;
  // Name, process id and CPU time are part of every sample; gathering more would cost more than the
  // entry itself.
  libtally_gather({.details = TaskDetail::None, .memoryRegions = false, .systemFigures = false});
  libtally_sample(false, false);
  libtally_psort(busiestFirst, nullptr);
  body.reserve(kMaxProcesses * kFieldLength);
  for (int written = 0; written < kMaxProcesses; ++written) {
    const LibtallyProcess* const process = libtally_piterate();
    if (process == nullptr) break;
    body += formatText(" %s(%d)=%ld;", safeText(process->command).c_str(), process->pid,
                       static_cast<long>(process->totalTime.current.seconds));
  }
  libtally_fini();
  return body;
}

}  // namespace zorva
