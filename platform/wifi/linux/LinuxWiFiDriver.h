// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/wifi/WiFiDriver.h"

namespace zorva {

/// The requests as they are, on a socket of the kernel's. No driver of Linux knows them: the answer
/// is ENOTTY.
class LinuxWiFiDriver : public WiFiDriver {
 public:
  int openSocket(int& socket) override;
  int request(int socket, std::uint32_t code, const WiFiDriverRequest& request,
              Buffer& buffer) override;
  void closeSocket(int socket) override;
};

}  // namespace zorva
