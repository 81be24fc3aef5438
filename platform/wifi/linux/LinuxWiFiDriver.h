// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/wifi/WiFiDriver.h"

namespace zorva {

/// Issues the requests unchanged, as ioctls on a socket. No Linux driver implements them: the
/// result is ENOTTY.
class LinuxWiFiDriver : public WiFiDriver {
 public:
  int openSocket(int& socket) override;
  int request(int socket, std::uint32_t code, const WiFiDriverRequest& request,
              Buffer& buffer) override;
  void closeSocket(int socket) override;
};

}  // namespace zorva
