// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <utility>

#include "process/libtally_context.h"

namespace zorva::libtally {

void releaseSharedObjects(Context& context, Record& record) {
  for (const std::uint64_t identity : record.sharedObjects) {
    const auto object = context.sharedObjects.find(identity);
    if (object == context.sharedObjects.end()) continue;
    if (--object->second.references == 0) context.sharedObjects.erase(object);
  }
  record.sharedObjects.clear();
}

void walkMemory(Context& context, Record& record) {
  if (!context.source.memoryRegions(record.psamp.pid, context.regions).ok()) return;
  releaseSharedObjects(context, record);
  LibtallyMemory memory;
  std::map<std::uint64_t, std::uint64_t> residentOfObjects;
  for (const MemoryRegion& region : context.regions) {
    ++memory.regions;
    if (region.sharedFramework) {
      memory.framework += region.virtualSize;
    } else if (!region.shared) {
      memory.privateVirtual += region.virtualSize;
      memory.privateResident += region.residentSize;
    } else if (region.object == 0) {
      memory.sharedVirtual += region.virtualSize;
      memory.sharedResident += region.residentSize;
    } else {
      // A process may map an object several times; its pages are counted once.
      memory.sharedVirtual += region.virtualSize;
      std::uint64_t& resident = residentOfObjects[region.object];
      resident = std::max(resident, region.residentSize);
    }
  }
  for (const auto& [identity, resident] : residentOfObjects) {
    memory.sharedResident += resident;
    SharedObject& object = context.sharedObjects[identity];
    ++object.references;
    object.residentSize = std::max(object.residentSize, resident);
    record.sharedObjects.push_back(identity);
  }
  record.psamp.details->memory.current = memory;
}

}  // namespace zorva::libtally
