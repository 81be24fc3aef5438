// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/netlink/NetlinkSocket.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <linux/genetlink.h>
#include <linux/inet_diag.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <utility>

#include "platform/kit/netlink/GenericNetlink.h"
#include "platform/processes/linux/SocketDiagnostics.h"
#include "platform/testing/ChildProcess.h"

namespace zorva {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes message(std::uint16_t type, std::uint16_t flags, std::uint32_t sequence, const void* payload,
              std::size_t length) {
  const nlmsghdr header{static_cast<std::uint32_t>(NLMSG_HDRLEN + length), type, flags, sequence,
                        0};
  Bytes bytes(NLMSG_ALIGN(header.nlmsg_len));
  std::memcpy(bytes.data(), &header, sizeof header);
  std::memcpy(bytes.data() + NLMSG_HDRLEN, payload, length);
  return bytes;
}

TEST(NetlinkReader, RejectsIncompleteReplies) {
  inet_diag_msg socket{};
  socket.idiag_family = AF_INET;
  socket.idiag_state = 10;
  socket.idiag_inode = 77;
  const Bytes one = message(SOCK_DIAG_BY_FAMILY, NLM_F_MULTI, 5, &socket, sizeof socket);
  bool whole = true;
  const auto read = [&](Bytes bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    bytes.shrink_to_fit();  // so that a read past the end is detected
    std::vector<SocketOfInode> sockets;
    const NetlinkAnswer answer = NetlinkReader(5).read(bytes, [&](const nlmsghdr& each) {
      whole = readSocketMessage(each, SocketProtocol::TCP, sockets) && whole;
    });
    return std::pair(answer, sockets.size());
  };
  const auto end = [](std::uint16_t type, std::uint16_t flags, std::uint32_t sequence, int error) {
    return message(type, flags, sequence, &error, sizeof error);
  };
  EXPECT_EQ(read(one, one), std::pair(NetlinkAnswer::Incomplete, std::size_t{2}));
  const std::pair<Bytes, NetlinkAnswer> cases[] = {
      {{}, NetlinkAnswer::Incomplete},
      {end(NLMSG_DONE, 0, 5, 0), NetlinkAnswer::Done},
      {end(NLMSG_DONE, NLM_F_DUMP_INTR, 5, 0), NetlinkAnswer::Interrupted},
      {end(NLMSG_DONE, 0, 5, -ENOENT), NetlinkAnswer::Refused},
      {end(NLMSG_ERROR, 0, 5, -ENOENT), NetlinkAnswer::Refused},
      {end(NLMSG_ERROR, 0, 4, -ENOENT), NetlinkAnswer::Incomplete},  // of another request
      {Bytes(NLMSG_HDRLEN), NetlinkAnswer::Refused},                 // a message of length 0
  };
  for (const auto& [more, answer] : cases) {
    EXPECT_EQ(read(one, more), std::pair(answer, std::size_t{1})) << more.size();
  }
  for (std::size_t length = 1; length < one.size(); ++length) {
    EXPECT_EQ(read({one.data(), one.data() + length}, {}).first, NetlinkAnswer::Refused) << length;
  }
  EXPECT_TRUE(whole);
  read(message(SOCK_DIAG_BY_FAMILY, 0, 5, &socket, sizeof socket - 4), {});
  EXPECT_FALSE(whole);
}

TEST(GenericFamily, IsMissingOnlyWhereTheKernelReportsIt) {
  std::optional<GenericFamily> family;
  EXPECT_EQ(findGenericFamily("nlctrl", family), NetlinkAnswer::Done);
  ASSERT_TRUE(family);
  EXPECT_EQ(family->id, GENL_ID_CTRL);
  EXPECT_EQ(findGenericFamily("zorva-has-none", family), NetlinkAnswer::Refused);
  EXPECT_FALSE(family);
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_EQ(findGenericFamily("nlctrl", family), NetlinkAnswer::Incomplete) << "no socket for it";
  ::setrlimit(RLIMIT_NOFILE, &before);
}

TEST(NetlinkSocket, AcceptsOnlyTheKernel) {
  NetlinkSocket socket(NETLINK_ROUTE);
  sockaddr_nl own{};
  socklen_t size = sizeof own;
  ASSERT_EQ(::getsockname(socket.descriptor(), reinterpret_cast<sockaddr*>(&own), &size), 0);
  // Before the request, another process sends replies: an error, and a link.
  const Descriptor forger(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
  ifinfomsg link{};
  link.ifi_index = 123456;
  for (const Bytes& forged : {message(RTM_NEWLINK, NLM_F_MULTI, 1, &link, sizeof link),
                              message(NLMSG_ERROR, 0, 1, "\xff\xff\xff\xff", 4)}) {
    if (::sendto(forger.get(), forged.data(), forged.size(), 0, reinterpret_cast<sockaddr*>(&own),
                 sizeof own) < 0) {
      GTEST_SKIP() << "this user may send to the kernel only";
    }
  }
  ifinfomsg any{};
  Bytes request = message(RTM_GETLINK, NLM_F_REQUEST | NLM_F_DUMP, 0, &any, sizeof any);
  int links = 0;
  EXPECT_EQ(socket.request(request,
                           [&](const nlmsghdr& each) {
                             const auto* info = static_cast<const ifinfomsg*>(NLMSG_DATA(&each));
                             EXPECT_NE(info->ifi_index, link.ifi_index);
                             ++links;
                           }),
            NetlinkAnswer::Done);
  EXPECT_GT(links, 0);
}

TEST(NetlinkSocket, BeginsAnInterruptedDumpAnew) {
  runInChild([] {
    // So many addresses that the kernel lists them in several steps.
    if (::unshare(CLONE_NEWNET) != 0 ||
        std::system("for a in 1 2 3 4; do for b in $(seq 250); do echo addr add 10.$a.$b.1/32 dev "
                    "lo; done; done | ip -batch - 2>/dev/null") != 0) {
      return false;
    }
    NetlinkSocket socket(NETLINK_ROUTE);
    ifaddrmsg any{};
    any.ifa_family = AF_INET;
    Bytes request = message(RTM_GETADDR, NLM_F_REQUEST | NLM_F_DUMP, 0, &any, sizeof any);
    int begun = 1;
    int addresses = 0;
    const auto change = [&](const nlmsghdr&) {
      if (++addresses == 1 && begun == 1) {
        EXPECT_EQ(std::system("ip addr del 10.3.1.1/32 dev lo"), 0);
      }
    };
    EXPECT_EQ(socket.request(request, change, [&] { ++begun, addresses = 0; }),
              NetlinkAnswer::Done);
    EXPECT_EQ(begun, 2);
    EXPECT_EQ(addresses, 999);
    return true;
  });
}

}  // namespace
}  // namespace zorva
