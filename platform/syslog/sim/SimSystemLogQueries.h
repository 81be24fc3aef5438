// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/loop/Clock.h"
#include "platform/scenario/SimParts.h"
#include "platform/syslog/SystemLogQueries.h"

namespace zorva {

/// The system log facility. It contains only the messages of the device's other processes, in the
/// order in which they were appended: the daemon's own messages are left out, so that an entry
/// about a message never creates a message. A message's time is in seconds since 1970.
class SimSystemLogQueries : public SystemLogQueries {
 public:
  /// If a member is empty, the message lacks that field.
  struct Message {
    std::optional<std::string> sender;
    std::optional<std::string> process;
    std::optional<std::string> text;
    std::optional<Date> time = std::nullopt;         ///< otherwise that of its arrival
    std::optional<std::uint32_t> id = std::nullopt;  ///< otherwise one more than the last one
  };

  SimSystemLogQueries(SimParts& parts, const Clock& clock);

  std::unique_ptr<SystemLogQuery> createQuery() override;
  std::unique_ptr<SystemLogResponse> search(const SystemLogQuery& query) override;
  std::int64_t parseTime(const std::string& text) override;

  void append(const Message& message);

 private:
  using Fields = std::map<std::string, std::string>;
  class Query;
  class Response;

  const Clock& clock_;
  SimFaultPoint setFault_;
  SimFaultPoint searchFault_;
  std::uint32_t lastId_ = 0;
  std::vector<std::pair<std::uint32_t, Fields>> messages_;
};

}  // namespace zorva
