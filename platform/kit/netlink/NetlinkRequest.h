#pragma once

#include <cstdint>
#include <functional>
#include <linux/netlink.h>
#include <span>

namespace zorva {

enum class NetlinkAnswer { GoesOn, Done, Refused };

/// Hands over each whole message of a datagram, up to the one that ends the answer. What is cut off
/// is passed over. The bytes are aligned as messages are.
NetlinkAnswer readNetlinkAnswer(std::span<const std::uint8_t> bytes,
                                const std::function<void(const nlmsghdr& message)>& each);

/// Sends the request, one whole netlink message, to the kernel and hands over each message of the
/// answer up to its end. A request that is no dump asks for an acknowledgement (NLM_F_ACK). False
/// when the kernel refuses it or the answer does not end within a second, so that nobody waits
/// for ever; what came until then was handed over.
bool netlinkRequest(int protocol, std::span<const std::uint8_t> request,
                    const std::function<void(const nlmsghdr& message)>& each);

}  // namespace zorva
