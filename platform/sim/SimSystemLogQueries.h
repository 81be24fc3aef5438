#pragma once

#include "platform/SystemLogQueries.h"

namespace zorva {

class SimSystemLogQueries : public SystemLogQueries {
 public:
  std::unique_ptr<SystemLogQuery> createQuery() override { return nullptr; }
  std::unique_ptr<SystemLogResponse> search(const SystemLogQuery&) override { return nullptr; }
  std::int64_t parseTime(const std::string&) override { return 0; }
};

}  // namespace zorva
