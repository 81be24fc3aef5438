// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/scenario/SimParts.h"
#include "platform/wifi/WiFiDriver.h"

namespace zorva {

/// The driver of the interface en0; all counters start at 0. It accepts only well-formed requests.
class SimWiFiDriver : public WiFiDriver {
 public:
  explicit SimWiFiDriver(SimParts& parts);

  int openSocket(int& socket) override;
  int request(int socket, std::uint32_t code, const WiFiDriverRequest& request,
              Buffer& buffer) override;
  void closeSocket(int socket) override;

  /// Increases the counter, which wraps at 32 bits.
  void count(const std::string& counter, std::uint32_t more) { counters_[counter] += more; }
  /// The requests since the last call: "query pm_dur", "reset pm_dur".
  std::vector<std::string> takeRequests() { return std::exchange(requests_, {}); }
  int openSockets() const { return static_cast<int>(sockets_.size()); }

 private:
  SimFaultPoint openSocketFault_;
  SimFaultPoint requestFault_;
  std::set<int> sockets_;  ///< open ones
  int lastSocket_ = 99;
  std::map<std::string, std::uint32_t> counters_;
  std::vector<std::string> requests_;
};

}  // namespace zorva
