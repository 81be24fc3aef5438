// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/scenario/SimParts.h"
#include "platform/sleep/KernelValues.h"

namespace zorva {

/// The kernel's values, by name.
class SimKernelValues : public KernelValues {
 public:
  explicit SimKernelValues(SimParts& parts);

  int sizeOf(const std::string& name, std::size_t& size) override;
  int read(const std::string& name, std::span<char> buffer, std::size_t& filled) override;

  /// Sets a value to the text and the NUL that ends it; nothing takes the value away.
  void setText(const std::string& name, std::optional<std::string> text);
  /// Sets a value to these bytes alone.
  void setBytes(const std::string& name, std::string bytes);

 private:
  ScenarioAction readValue(const std::string& name, const ScenarioNode& value);

  SimFaultPoint sizeOfFault_;
  SimFaultPoint readFault_;
  std::map<std::string, std::string> values_;
};

}  // namespace zorva
