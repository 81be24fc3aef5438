// SPDX-License-Identifier: Apache-2.0
#pragma once

// Declarations that the library's own sources share. No other file includes this.

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "process/libtally.h"

// Stops the program in every build type: calls in the wrong order would read freed records.
#define LIBTALLY_ASSERT(condition) \
  ((condition) ? static_cast<void>(0) : ::zorva::libtally::assertionFailed(#condition))

namespace zorva::libtally {

[[noreturn]] void assertionFailed(const char* condition);

/// A process's record with the library's internal data.
struct Record {
  LibtallyProcess psamp;
  std::uint32_t regionPreference = 0;
  std::vector<std::uint64_t> sharedObjects;  ///< those that it references
};

/// By ascending process id.
struct RegistryOrder {
  using is_transparent = void;
  bool operator()(const std::unique_ptr<Record>& a, const std::unique_ptr<Record>& b) const;
  bool operator()(const std::unique_ptr<Record>& a, pid_t pid) const;
  bool operator()(pid_t pid, const std::unique_ptr<Record>& b) const;
};
using Registry = std::set<std::unique_ptr<Record>, RegistryOrder>;

/// A memory object that processes share.
struct SharedObject {
  std::uint32_t references = 0;    ///< number of processes that map it
  std::uint64_t residentSize = 0;  ///< the largest that one of them saw since the first mapped it
};

struct Context {
  Context(SystemStatistics& statistics, AccountDatabase& accountDatabase)
      : source(statistics), accounts(accountDatabase) {}

  SystemStatistics& source;
  AccountDatabase& accounts;
  LibtallyMessage message = nullptr;
  void* userData = nullptr;
  LibtallyGathering gathering;
  std::uint32_t interval = 1;
  LibtallySystem tsamp;
  Registry registry;

  bool sorted = false;         ///< iteration follows `order`, else the registry
  std::vector<Record*> order;  ///< of libtally_psort; has room for every record
  std::size_t next = 0;        ///< place in `order` of the next record
  std::optional<std::int32_t>
      passed;  ///< process id of the last record of the registry's iteration

  std::map<uid_t, std::string> userNames;
  std::unordered_map<std::uint64_t, SharedObject> sharedObjects;
  std::unique_ptr<char[]> arguments;
  std::size_t argumentLength = 0;

  // Reused from sample to sample, so that their memory is allocated once.
  std::vector<std::int32_t> processes;
  TaskSample task;
  std::vector<MemoryRegion> regions;
};

/// The context; null outside a round.
Context* context();

/// Brings the record of one process up to date.
void updateTask(Context& context, pid_t pid, bool registerRegions);

/// Walks the memory of a process whose record has details. Its figures stay as they were when the
/// walk fails.
void walkMemory(Context& context, Record& record);
/// Releases the record's references to shared objects before it is freed or walked.
void releaseSharedObjects(Context& context, Record& record);

/// Frees the record and returns the next one.
Registry::iterator removeRecord(Context& context, Registry::iterator record);

/// The last path component of the executable of a launcher's process.
std::string commandFromArguments(Context& context, const Record* pinfo);

}  // namespace zorva::libtally
