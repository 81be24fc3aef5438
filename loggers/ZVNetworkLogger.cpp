// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVNetworkLogger.h"

#include <string>

#include "platform/base/Text.h"

namespace zorva {

std::unique_ptr<ZVNetworkLogger> ZVNetworkLogger::logger(const Services& services,
                                                         NetworkInterfaces& interfaces) {
  return std::unique_ptr<ZVNetworkLogger>(new ZVNetworkLogger(services, interfaces));
}

ZVNetworkLogger::ZVNetworkLogger(const Services& services, NetworkInterfaces& interfaces)
    : ZVLogger(services),
      interfaces_(interfaces),
      prevTime_(static_cast<std::int32_t>(secondsSinceEpoch(now()))) {
  logOnBatteryLevel();
}

void ZVNetworkLogger::log() {
  const auto addresses = interfaces_.addresses();
  if (!addresses.has_value()) {
    logError("Network: Error calling getifaddrs()");
    return;
  }
  double in = 0.0;
  double out = 0.0;
  std::string interfaceFields;
  for (const NetworkInterfaces::Address& address : *addresses) {
    if (!address.linkLayer || address.loopback || !address.counters.has_value()) continue;
    const auto [received, sent] = *address.counters;
    interfaceFields +=
        formatText(" %s=%ub/%ub;", safeText(address.interface).c_str(), received, sent);
    in += received;
    out += sent;
  }
  const auto time = static_cast<std::int32_t>(secondsSinceEpoch(now()));
  // Unsigned, so that the difference is right when 32-bit time wraps.
  const auto elapsed = static_cast<std::int32_t>(static_cast<std::uint32_t>(time) -
                                                 static_cast<std::uint32_t>(prevTime_));
  std::string body =
      formatText(" TotalSinceLastCheck=%.1fK/%.1fK;", (in - prevNetworkTrafficIn_) * 0.0009765625,
                 (out - prevNetworkTrafficOut_) * 0.0009765625);
  body += formatText(" TimeSinceLastCheck=%lds;", long{elapsed});
  body += interfaceFields;

  prevNetworkTrafficIn_ = in;
  prevNetworkTrafficOut_ = out;
  prevTime_ = time;
  logEntryWithBody("Network", body);
}

}  // namespace zorva
