// SPDX-License-Identifier: Apache-2.0
#include "platform/wifi/sim/SimWiFiDriver.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zorva {

SimWiFiDriver::SimWiFiDriver(SimParts& parts)
    : openSocketFault_(parts.faults, "wifiDriver.openSocket", EMFILE),
      requestFault_(parts.faults, "wifiDriver.request", ENXIO) {
  parts.sections.addBoth("wifi_counters", [this](const ScenarioNode& node) {
    return eachEntryOf(
        node, [this](const ScenarioNode& name, const ScenarioNode& more) -> ScenarioAction {
          const auto by = static_cast<std::uint32_t>(more.integer(0, UINT32_MAX));
          return [this, counter = name.text(), by] { count(counter, by); };
        });
  });
}

int SimWiFiDriver::openSocket(int& socket) {
  if (const auto error = openSocketFault_.struckResult<int>()) return *error;
  socket = *sockets_.insert(++lastSocket_).first;
  return 0;
}

int SimWiFiDriver::request(int socket, std::uint32_t code, const WiFiDriverRequest& request,
                           Buffer& buffer) {
  if (const auto error = requestFault_.struckResult<int>()) return *error;
  if (!sockets_.contains(socket)) return EBADF;
  if (std::strncmp(request.interface.data(), "en0", request.interface.size()) != 0) return ENXIO;
  if (request.type != -1 || request.length != buffer.size()) return EINVAL;
  const auto end = std::find(buffer.begin(), buffer.end(), 0);
  if (end == buffer.end()) return EINVAL;
  const std::string counter(buffer.begin(), end);
  if (code == kReset && request.value == 263) {
    counters_[counter] = 0;
    requests_.push_back("reset " + counter);
    return 0;
  }
  if (code != kQuery || request.value != 262) return EINVAL;
  const std::uint32_t value = counters_[counter];
  for (std::size_t i = 0; i < 4; ++i) buffer[i] = static_cast<std::uint8_t>(value >> (8 * i));
  requests_.push_back("query " + counter);
  return 0;
}

void SimWiFiDriver::closeSocket(int socket) {
  sockets_.erase(socket);
}

}  // namespace zorva
