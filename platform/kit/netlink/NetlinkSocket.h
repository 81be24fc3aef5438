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

/// A socket for requests to the kernel, one after the other.
class NetlinkSocket {
 public:
  /// One of the NETLINK_ protocols. Without the protocol, or a descriptor for the socket, no
  /// request is answered.
  explicit NetlinkSocket(int protocol);

  /// Sends the request, one whole netlink message whose length and sequence number are set here,
  /// and hands over each message of the kernel's answer up to its end. A request that is no dump
  /// asks for an acknowledgement (NLM_F_ACK).
  ///
  /// GoesOn: the answer did not end within a second, or a system call failed; what came until then
  /// was handed over. The second begins when the kernel has taken the request. That may take
  /// longer: while another process changes many links, the kernel's routing and wireless sockets
  /// wait inside the system call, where no limit holds. What must be quick, such as the way to
  /// sleep, asks only NETLINK_SOCK_DIAG, which waits for none of them.
  ///
  /// A dump is requested once more if what it lists changed meanwhile and there is an `again`,
  /// which drops what was handed over.
  NetlinkAnswer request(std::span<std::uint8_t> request, const NetlinkReader::Each& each,
                        const std::function<void()>& again = {});

  int descriptor() const { return socket_.get(); }

 private:
  Descriptor socket_;
  std::uint32_t sequence_ = 0;
  std::unique_ptr<std::uint8_t[]> buffer_;  ///< from the first request on
};

/// A socket that hears the multicast groups, and does not wait; none when there is no such
/// protocol.
Descriptor openNetlink(int protocol, const std::vector<std::uint32_t>& groups);

}  // namespace zorva
