#pragma once

#include <cerrno>

#include "platform/KernelValues.h"

namespace zorva {

class SimKernelValues : public KernelValues {
 public:
  int sizeOf(const std::string&, std::size_t&) override { return ENOENT; }
  int read(const std::string&, std::span<char>, std::size_t&) override { return ENOENT; }
};

}  // namespace zorva
