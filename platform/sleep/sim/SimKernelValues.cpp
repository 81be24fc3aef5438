// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/sim/SimKernelValues.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace zorva {

SimKernelValues::SimKernelValues(SimParts& parts)
    : sizeOfFault_(parts.faults, "kernel.sizeOf", ENOENT),
      readFault_(parts.faults, "kernel.read", ENOENT) {
  parts.sections.addBoth("kernel", [this](const ScenarioNode& values) {
    return eachEntryOf(values, [this](const ScenarioNode& name, const ScenarioNode& value) {
      return readValue(name.text(), value);
    });
  });
}

ScenarioAction SimKernelValues::readValue(const std::string& name, const ScenarioNode& value) {
  if (value.isNothing()) return [this, name] { setText(name, std::nullopt); };
  const Value given = value.value();
  if (const Value::Data* data = given.data()) {
    return [this, name, bytes = std::string(data->begin(), data->end())] { setBytes(name, bytes); };
  }
  return [this, name, text = value.anyText()] { setText(name, text); };
}

int SimKernelValues::sizeOf(const std::string& name, std::size_t& size) {
  if (const auto error = sizeOfFault_.struckResult<int>()) return *error;
  const auto found = values_.find(name);
  if (found == values_.end()) return ENOENT;
  size = found->second.size();
  return 0;
}

int SimKernelValues::read(const std::string& name, std::span<char> buffer, std::size_t& filled) {
  if (const auto error = readFault_.struckResult<int>()) return *error;
  const auto found = values_.find(name);
  if (found == values_.end()) return ENOENT;
  filled = std::min(buffer.size(), found->second.size());
  std::copy_n(found->second.begin(), filled, buffer.begin());
  return 0;
}

void SimKernelValues::setText(const std::string& name, std::optional<std::string> text) {
  if (text) {
    setBytes(name, *text + '\0');
  } else {
    values_.erase(name);
  }
}

void SimKernelValues::setBytes(const std::string& name, std::string bytes) {
  values_[name] = std::move(bytes);
}

}  // namespace zorva
