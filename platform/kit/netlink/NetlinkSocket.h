// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "platform/base/Descriptor.h"
#include "platform/kit/netlink/NetlinkMessages.h"

namespace zorva {

/// A socket for requests to the kernel, one at a time.
class NetlinkSocket {
 public:
  /// One of the NETLINK_ protocols. If the kernel lacks the protocol, or no descriptor is free,
  /// every request fails.
  explicit NetlinkSocket(int protocol);

  /// Sends the request, one complete netlink message whose length and sequence number are set here,
  /// and calls back with each message of the kernel's reply. A request that is not a dump must
  /// request an acknowledgement (NLM_F_ACK).
  ///
  /// Incomplete: the reply did not end within a second, or a system call failed; the messages
  /// received until then were delivered. The second begins when the kernel has accepted the
  /// request. That may take longer: while another process changes many links, the kernel's routing
  /// and wireless sockets wait inside the system call, where the limit does not apply. Code that
  /// must be quick, such as the path to sleep, uses only NETLINK_SOCK_DIAG, which does not wait for
  /// them.
  ///
  /// If the listed objects changed during a dump and there is an `again`, which discards the
  /// messages delivered so far, the dump is requested once more.
  NetlinkAnswer request(std::span<std::uint8_t> request, const NetlinkReader::Each& each,
                        const std::function<void()>& again = {});

  int descriptor() const { return socket_.get(); }

 private:
  Descriptor socket_;
  std::uint32_t sequence_ = 0;
  std::unique_ptr<std::uint8_t[]> buffer_;  ///< from the first request on
};

/// A non-blocking socket that receives the multicast groups; invalid if there is no such protocol.
Descriptor openNetlink(int protocol, const std::vector<std::uint32_t>& groups);

}  // namespace zorva
