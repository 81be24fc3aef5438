// SPDX-License-Identifier: Apache-2.0
#include "platform/wifi/linux/LinuxWiFiDriver.h"

#include <cerrno>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zorva {

int LinuxWiFiDriver::openSocket(int& socket) {
  socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  return socket < 0 ? errno : 0;
}

int LinuxWiFiDriver::request(int socket, std::uint32_t code, const WiFiDriverRequest& request,
                             Buffer& buffer) {
  WiFiDriverRequest record = request;  // a query's result is written to it
  // The record has 32 bits for the address. An address that does not fit is left out, not
  // truncated: a driver that accepted the request would then find no buffer instead of a wrong one.
  const auto address = reinterpret_cast<std::uintptr_t>(buffer.data());
  record.buffer = address > UINT32_MAX ? 0 : static_cast<std::uint32_t>(address);
  return ::ioctl(socket, code, &record) < 0 ? errno : 0;
}

void LinuxWiFiDriver::closeSocket(int socket) {
  ::close(socket);
}

}  // namespace zorva
