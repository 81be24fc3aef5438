#pragma once

#include "platform/ProcessInformation.h"

namespace zorva {

class LinuxProcessInformation : public ProcessInformation {
 public:
  ProcAnswer proc_listpids(std::span<std::int32_t>) override { return {}; }
  ProcAnswer proc_pidinfo(std::int32_t, proc_taskallinfo&) override { return {}; }
  ProcAnswer proc_pidinfo(std::int32_t, std::span<proc_fdinfo>) override { return {}; }
  ProcAnswer proc_pidfdinfo(std::int32_t, std::int32_t, socket_fdinfo&) override { return {}; }
  ProcAnswer proc_name(std::int32_t, std::span<char>) override { return {}; }
  ProcAnswer proc_pidpath(std::int32_t, std::span<char>) override { return {}; }
};

}  // namespace zorva
