// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "process/libtally_context.h"

namespace zorva {
namespace libtally {
namespace {

bool comesBefore(const Record* a, const Record* b) {
  LIBTALLY_ASSERT(a != NULL);
  LIBTALLY_ASSERT(b != NULL);
  return a->psamp.pid < b->psamp.pid;
}

// Advances in the registry to the next record of the current sample.
const LibtallyProcess* nextInRegistry(Context& context) {
  Registry& registry = context.registry;
  auto record = context.passed ? registry.upper_bound(*context.passed) : registry.begin();
  while (record != registry.end() && (*record)->psamp.seq.current != context.tsamp.seq) {
    record = removeRecord(context, record);
  }
  if (record == registry.end()) {
    context.passed.reset();
    return nullptr;
  }
  context.passed = (*record)->psamp.pid;
  return &(*record)->psamp;
}

}  // namespace

bool RegistryOrder::operator()(const std::unique_ptr<Record>& a,
                               const std::unique_ptr<Record>& b) const {
  return comesBefore(a.get(), b.get());
}

bool RegistryOrder::operator()(const std::unique_ptr<Record>& a, pid_t pid) const {
  LIBTALLY_ASSERT(a != NULL);
  return a->psamp.pid < pid;
}

bool RegistryOrder::operator()(pid_t pid, const std::unique_ptr<Record>& b) const {
  LIBTALLY_ASSERT(b != NULL);
  return pid < b->psamp.pid;
}

Registry::iterator removeRecord(Context& context, Registry::iterator record) {
  releaseSharedObjects(context, **record);
  return context.registry.erase(record);
}

}  // namespace libtally

using libtally::Context;
using libtally::Record;

void libtally_psort(LibtallyComparator comparator, void* userData) {
  Context* const context = libtally::context();
  const LibtallySystem tsampOfNoRound;
  const LibtallySystem& tsamp = context != nullptr ? context->tsamp : tsampOfNoRound;
  LIBTALLY_ASSERT(tsamp.seq != 0);

  context->order.clear();
  context->tsamp.processes = 0;
  context->sorted = true;
  context->next = 0;
  auto& order = context->order;
  for (auto record = context->registry.begin(); record != context->registry.end();) {
    if ((*record)->psamp.seq.current != tsamp.seq) {
      record = removeRecord(*context, record);
      continue;
    }
    // Insert one by one, each after the records that it does not precede: the comparator gets its
    // arguments in their documented roles, and for any result the position is within the list.
    Record* const placed = record->get();
    const auto place = std::ranges::partition_point(order, [&](const Record* other) {
      return comparator(userData, placed->psamp, other->psamp) != -1;
    });
    order.insert(place, placed);
    ++context->tsamp.processes;
    ++record;
  }
}

const LibtallyProcess* libtally_piterate() {
  Context* const context = libtally::context();
  const LibtallySystem tsampOfNoRound;
  const LibtallySystem& tsamp = context != nullptr ? context->tsamp : tsampOfNoRound;
  LIBTALLY_ASSERT(tsamp.seq != 0);

  if (!context->sorted) return libtally::nextInRegistry(*context);
  if (context->next == context->order.size()) {
    context->next = 0;
    return nullptr;
  }
  return &context->order[context->next++]->psamp;
}

}  // namespace zorva
