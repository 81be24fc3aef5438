// SPDX-License-Identifier: Apache-2.0
#include "report/analyse/WakeEntries.h"

namespace zorva {
namespace {

const LogField* find(std::span<const LogField> fields, std::string_view key) {
  for (const LogField& field : fields) {
    if (field.key == key) return &field;
  }
  return nullptr;
}

}  // namespace

std::string_view valueOf(std::span<const LogField> fields, std::string_view key) {
  const LogField* const field = find(fields, key);
  return field == nullptr ? std::string_view() : field->value;
}

std::int64_t integerOf(std::span<const LogField> fields, std::string_view key) {
  const LogField* const field = find(fields, key);
  return field == nullptr ? 0 : field->integer().value_or(0);
}

WakeEntries::WakeEntries(LogTime time, std::optional<LogTime> asleepSince,
                         std::span<const LogField> fields, LogPosition position)
    : time_(time),
      asleepSince_(asleepSince),
      reason_(valueOf(fields, "reason")),
      position_(position) {}

void WakeEntries::addDecoded(std::span<const LogField> fields) {
  decoded_ = valueOf(fields, "status");
  if (!decoded_.empty()) return;
  decoded_.append(valueOf(fields, "protocol")).append(" ").append(valueOf(fields, "source"));
  if (find(fields, "source_port") == nullptr) return;
  decoded_.append(":").append(valueOf(fields, "source_port"));
  decoded_.append(" to port ").append(valueOf(fields, "dest_port"));
}

void WakeEntries::addTracked(std::span<const LogField> fields) {
  owner_ = valueOf(fields, "process");
  ownerPid_ = integerOf(fields, "pid");
}

void WakeEntries::reportTo(LogHistorySink& sink) const {
  sink.wake({time_, asleepSince_, reason_, decoded_, owner_, ownerPid_, position_});
}

}  // namespace zorva
