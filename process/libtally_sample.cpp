// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "process/libtally_context.h"

namespace zorva {
namespace libtally {
namespace {

template <typename Value>
void move(LibtallySeries<Value>& series, const Value& current, bool firstSample) {
  series.previous = firstSample ? current : series.current;
  series.current = current;
  if (firstSample) series.first = current;
}

void resetPerSample(Context& context) {
  context.sorted = false;
  context.order.clear();
  context.next = 0;
  context.passed.reset();
  LibtallySystem& tsamp = context.tsamp;
  tsamp.processes = 0;
  tsamp.threads = 0;
  tsamp.processesInState = {};
  tsamp.virtualSize = 0;
  tsamp.privateResident = 0;
  tsamp.sharedResident = 0;
  tsamp.regions = 0;
}

void reportListing(const Context& context, const TaskListResult& result) {
  const char* const text = result.text.c_str();
  switch (result.failed) {
    case TaskListStep::ProcessorSets:
      context.message(context.userData, "Error in host_processor_sets(): %s", text);
      break;
    case TaskListStep::PrivilegedAccess:
      context.message(context.userData, "Error in host_processor_set_priv(): %s", text);
      break;
    case TaskListStep::Tasks:
      context.message(context.userData, "Error in processor_set_tasks(): %s", text);
      break;
  }
}

bool updateTasks(Context& context, bool registerRegions) {
  if (const auto result = context.source.listTasks(context.processes); !result.ok()) {
    reportListing(context, result);
    return false;
  }
  try {
    for (const pid_t pid : context.processes) {
      updateTask(context, pid, registerRegions);
    }
  } catch (const std::bad_alloc&) {
    return false;  // the records updated so far are kept
  }
  return true;
}

bool sampleCpuLoad(Context& context) {
  double averages[3];
  if (const auto result = context.source.loadAverages(averages); !result.ok()) {
    context.message(context.userData, "Error in getloadavg(): %s", result.text.c_str());
    return false;
  }
  std::copy(std::begin(averages), std::end(averages), context.tsamp.loadAverages.begin());
  auto& cpu = context.tsamp.cpu;
  cpu.previous = cpu.current;
  if (const auto result = context.source.cpuLoad(cpu.current); !result.ok()) {
    context.message(context.userData, "Error in host_statistics(): %s", result.text.c_str());
    return false;
  }
  return true;
}

void sampleMemory(Context& context, bool frameworks) {
  LibtallySystem& tsamp = context.tsamp;
  // The first comparison also prevents a division by 0.
  if (frameworks && (context.interval <= 1 || tsamp.seq % context.interval == 1)) {
    context.source.frameworkMemory(tsamp.frameworkMemory);
  }
  HostVmStatistics statistics = tsamp.vm.current;
  context.source.vmStatistics(statistics);
  move(tsamp.vm, statistics, tsamp.seq == 1);
  tsamp.swapKnown = context.source.swapUsage(tsamp.swap).ok();
}

void totalProcesses(Context& context) {
  LibtallySystem& tsamp = context.tsamp;
  for (const auto& record : context.registry) {
    const LibtallyProcess& psamp = record->psamp;
    // An ended process references nothing, although its record is not freed yet.
    if (psamp.seq.current != tsamp.seq) releaseSharedObjects(context, *record);
    if (psamp.seq.current != tsamp.seq || !psamp.details) continue;
    tsamp.threads += psamp.details->threads.current;
    tsamp.virtualSize += psamp.details->basic.current.virtualSize;
    tsamp.privateResident += psamp.details->memory.current.privateResident;
    tsamp.regions += psamp.details->memory.current.regions;
  }
  for (const auto& [identity, object] : context.sharedObjects) {
    tsamp.sharedResident += object.residentSize;
  }
}

// Returns false if the system cannot list them.
bool listInterfaces(Context& context, std::vector<NetworkTotals>& interfaces) {
  try {
    return context.source.interfaceTraffic(interfaces).ok();
  } catch (const std::bad_alloc&) {
    std::fputs("malloc failed", stdout);
    std::exit(1);
  }
}

void sampleNetwork(Context& context) {
  LibtallySystem& tsamp = context.tsamp;
  std::vector<NetworkTotals> interfaces;
  NetworkTotals totals = tsamp.network.current;
  if (listInterfaces(context, interfaces)) {
    totals = {};
    for (const NetworkTotals& interface : interfaces) {
      totals.packetsIn += interface.packetsIn;
      totals.packetsOut += interface.packetsOut;
      totals.bytesIn += interface.bytesIn;
      totals.bytesOut += interface.bytesOut;
    }
  }
  move(tsamp.network, totals, tsamp.seq == 1);
}

void sampleDisks(Context& context) {
  LibtallySystem& tsamp = context.tsamp;
  std::vector<std::string> drivers;
  DiskTotals totals;
  if (!context.source.blockDrivers(drivers).ok()) {
    context.message(context.userData, "Error in IOServiceGetMatchingServices()");
    totals = tsamp.disk.current;
  }
  for (const std::string& driver : drivers) {
    DiskTotals transfers;
    if (!context.source.blockDriverTransfers(driver, transfers).ok()) {
      context.message(context.userData, "Error in IORegistryEntryCreateCFProperties()");
      continue;
    }
    totals.readOperations += transfers.readOperations;
    totals.readBytes += transfers.readBytes;
    totals.writeOperations += transfers.writeOperations;
    totals.writeBytes += transfers.writeBytes;
  }
  move(tsamp.disk, totals, tsamp.seq == 1);
}

int takeSample(Context& context, bool registerRegions, bool frameworks) {
  LibtallySystem& tsamp = context.tsamp;
  ++tsamp.seq;
  resetPerSample(context);
  if (tsamp.seq > 1) {
    tsamp.time.previous = tsamp.time.current;
    if (const auto result = context.source.timeOfDay(tsamp.time.current); !result.ok()) {
      return result.code;
    }
  }
  if (!updateTasks(context, registerRegions)) return -1;
  const bool systemFigures = context.gathering.systemFigures;
  if (systemFigures) {
    if (!sampleCpuLoad(context)) return -1;
    sampleMemory(context, frameworks);
  }
  totalProcesses(context);
  if (systemFigures) {
    sampleNetwork(context);
    sampleDisks(context);
  }
  return 0;
}

}  // namespace
}  // namespace libtally

int libtally_sample(bool registerRegions, bool frameworks) {
  libtally::Context* const context = libtally::context();
  if (context == nullptr) return -1;
  const int result = libtally::takeSample(*context, registerRegions, frameworks);
  // The next sample measures from the ticks of this one.
  if (result != 0) context->tsamp.cpu.previous = context->tsamp.cpu.current;
  return result;
}

}  // namespace zorva
