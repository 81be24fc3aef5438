// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace zorva {

/// A message of the system log, by key: "SLQMessageID" (decimal), "Time", "Sender", "PID" and
/// "Message". Any bytes.
class SystemLogMessage {
 public:
  virtual ~SystemLogMessage() = default;
  virtual std::optional<std::string> field(const std::string& key) const = 0;
};

/// Messages that match, the oldest first.
class SystemLogResponse {
 public:
  virtual ~SystemLogResponse() = default;
  /// The next message, valid until the next call; null at the end.
  virtual const SystemLogMessage* next() = 0;
};

/// A query, which initially matches every message.
class SystemLogQuery {
 public:
  virtual ~SystemLogQuery() = default;

  static constexpr std::uint32_t kNumeric = 0x80;
  static constexpr std::uint32_t kGreater = 0x02;
  /// Adds a condition. Returns 0 or the facility's error code. Ids are unsigned 32-bit numbers; in
  /// a numeric comparison a negative value means the id with the same bits.
  virtual int set(const std::string& key, const std::string& value, std::uint32_t operation) = 0;
};

/// The system log facility's queries.
class SystemLogQueries {
 public:
  virtual ~SystemLogQueries() = default;

  virtual std::unique_ptr<SystemLogQuery> createQuery() = 0;
  /// Null if the facility cannot be searched.
  virtual std::unique_ptr<SystemLogResponse> search(const SystemLogQuery& query) = 0;
  static constexpr std::int64_t kMaxTime = 253'402'300'799;  ///< the last second of the year 9999
  /// Seconds since 1970-01-01 UTC of a message's "Time", in the years 1970 to 9999; 0 for any other
  /// text.
  virtual std::int64_t parseTime(const std::string& text) = 0;
};

}  // namespace zorva
