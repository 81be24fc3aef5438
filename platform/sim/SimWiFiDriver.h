#pragma once

#include <cerrno>

#include "platform/WiFiDriver.h"

namespace zorva {

class SimWiFiDriver : public WiFiDriver {
 public:
  int openSocket(int&) override { return ENOTSUP; }
  int request(int, std::uint32_t, const WiFiDriverRequest&, Buffer&) override { return ENOTSUP; }
  void closeSocket(int) override {}
};

}  // namespace zorva
