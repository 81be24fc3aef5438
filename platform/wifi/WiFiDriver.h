// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

namespace zorva {

/// A request in the Wi-Fi driver's format: 32 bytes, the last four a pointer to the buffer, which
/// the driver layer fills in.
struct WiFiDriverRequest {
  std::array<char, 16> interface {};  ///< name, NUL-padded
  std::int32_t type = 0;
  std::int32_t value = 0;
  std::uint32_t length = 0;  ///< of the buffer in bytes
  std::uint32_t buffer = 0;
};
static_assert(sizeof(WiFiDriverRequest) == 32);

/// The interface requests of the Wi-Fi driver.
class WiFiDriver {
 public:
  virtual ~WiFiDriver() = default;

  using Buffer = std::array<std::uint8_t, 1536>;
  static constexpr std::uint32_t kReset = 0x802069C8;
  static constexpr std::uint32_t kQuery = 0xC02069C9;

  /// Opens an IPv4 datagram socket. Returns 0 or the error number.
  virtual int openSocket(int& socket) = 0;
  /// Issues the request with the buffer, which the driver reads and may fill. Returns 0 or the
  /// error number.
  virtual int request(int socket, std::uint32_t code, const WiFiDriverRequest& request,
                      Buffer& buffer) = 0;
  virtual void closeSocket(int socket) = 0;
};

}  // namespace zorva
