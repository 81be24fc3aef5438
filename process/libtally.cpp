// SPDX-License-Identifier: Apache-2.0
#include "process/libtally.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

#include "process/libtally_context.h"

namespace zorva {
namespace libtally {
namespace {

// All state of the library.
struct Library {
  SystemStatistics* statistics = nullptr;
  AccountDatabase* accounts = nullptr;
  std::unique_ptr<Context> context;
};

Library& library() {
  static Library instance;
  return instance;
}

// Reserved memory is rounded down to a multiple of this size.
constexpr std::uint64_t kReservedMemoryStep = 0x8000000;

__attribute__((format(printf, 2, 3))) int dropMessage(void*, const char*, ...) {
  return 0;
}

std::uint64_t reservedPages(SystemStatistics& source, std::uint64_t pageSize) {
  const std::optional<ReservedMemory> memory = source.reservedMemory();
  if (!memory) return 0;
  const std::uint64_t sum = memory->reserved + memory->unusable + memory->other;
  return sum / kReservedMemoryStep * kReservedMemoryStep / pageSize;
}

// All parts of libtally_init that can fail.
int readStartFigures(Context& context) {
  constexpr const char* kSysctlFailed = "%s(): Error in sysctl(): %s";
  LibtallySystem& tsamp = context.tsamp;
  tsamp.pageSize = context.source.pageSize();
  if (const auto result = context.source.memorySize(tsamp.memorySize); !result.ok()) {
    context.message(context.userData, kSysctlFailed, "libtally_init", result.text.c_str());
    return -1;
  }
  tsamp.reservedPages = reservedPages(context.source, tsamp.pageSize);
  if (const auto result = context.source.maximumArgumentLength(context.argumentLength);
      !result.ok()) {
    context.message(context.userData, kSysctlFailed, "libtally_init", result.text.c_str());
    return -1;
  }
  context.arguments.reset(new (std::nothrow) char[context.argumentLength]);
  if (!context.arguments) return -1;
  if (!context.source.openDeviceRegistry().ok()) {
    context.message(context.userData, "Error in IOMasterPort()");
    return -1;
  }
  if (const auto result = context.source.cpuLoad(tsamp.cpu.current); !result.ok()) {
    context.message(context.userData, "Error in host_statistics(): %s", result.text.c_str());
    return -1;
  }
  tsamp.cpu.previous = tsamp.cpu.first = tsamp.cpu.current;
  if (!context.source.timeOfDay(tsamp.time.current).ok()) return -1;
  tsamp.time.previous = tsamp.time.first = tsamp.time.current;
  return 0;
}

}  // namespace

void assertionFailed(const char* condition) {
  std::fprintf(stderr, "libtally: assertion failed: %s\n", condition);
  std::abort();
}

Context* context() {
  return library().context.get();
}

}  // namespace libtally

using libtally::context;
using libtally::library;

void libtally_use(SystemStatistics& statistics, AccountDatabase& accounts) {
  library().statistics = &statistics;
  library().accounts = &accounts;
}

int libtally_gather(const LibtallyGathering& gathering) {
  if (context() == nullptr || context()->tsamp.seq != 0) return -1;
  context()->gathering = gathering;
  return 0;
}

int libtally_init(LibtallyMessage message, void* userData) {
  libtally_fini();
  if (library().statistics == nullptr) return -1;
  auto made = std::make_unique<libtally::Context>(*library().statistics, *library().accounts);
  made->message = message != nullptr ? message : libtally::dropMessage;
  made->userData = userData;
  if (libtally::readStartFigures(*made) != 0) return -1;
  library().context = std::move(made);
  return 0;
}

void libtally_fini() {
  library().context.reset();
}

const LibtallySystem* libtally_tsamp() {
  return context() != nullptr ? &context()->tsamp : nullptr;
}

int libtally_preg(pid_t pid, std::uint32_t preference) {
  if (context() == nullptr || preference > 2) return -1;
  const auto record = context()->registry.find(pid);
  if (record == context()->registry.end()) return -1;
  (*record)->regionPreference = preference;
  return 0;
}

int libtally_set_interval(std::uint32_t interval) {
  if (context() == nullptr || interval > 100) return -1;
  context()->interval = interval;
  return 0;
}

const char* libtally_state_str(std::uint32_t state) {
  static constexpr const char* kTexts[] = {"zombie", "running", "stuck",  "sleeping",
                                           "idle",   "stopped", "halted", "unknown"};
  LIBTALLY_ASSERT(state <= LIBTALLY_STATE_MAX);
  return kTexts[state];
}

const char* libtally_username(uid_t uid) {
  if (context() == nullptr) return nullptr;
  auto& names = context()->userNames;
  auto cached = names.find(uid);
  if (cached == names.end()) {
    const std::optional<std::string> name = context()->accounts.nameOfUser(uid);
    if (!name) return nullptr;
    cached = names.emplace(uid, *name).first;
  }
  return cached->second.c_str();
}

void libtally_i64_init(libtally_i64& accumulator, std::uint64_t total, std::uint32_t counter) {
  accumulator.total = total != 0 ? total : counter;
  accumulator.last = counter;
}

std::int32_t libtally_i64_update(libtally_i64& accumulator, std::uint32_t counter) {
  const auto difference = static_cast<std::int32_t>(counter - accumulator.last);
  accumulator.total += static_cast<std::uint64_t>(std::int64_t{difference});
  accumulator.last = counter;
  return difference;
}

std::uint64_t libtally_i64_value(const libtally_i64& accumulator) {
  return accumulator.total;
}

}  // namespace zorva
