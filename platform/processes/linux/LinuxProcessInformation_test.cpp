// SPDX-License-Identifier: Apache-2.0
#include "platform/processes/linux/LinuxProcessInformation.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <map>
#include <netdb.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include "platform/base/Text.h"
#include "platform/testing/ChildProcess.h"

namespace zorva {
namespace {

// "2/1 127.0.0.1:80 0.0.0.0:0": kind, state and both ends.
std::string textOf(const socket_fdinfo& socket) {
  const auto end = [](const std::array<std::uint8_t, 4>& address, std::uint32_t port) {
    return formatText("%d.%d.%d.%d:%d", address[0], address[1], address[2], address[3],
                      ntohs(static_cast<std::uint16_t>(port)));
  };
  return formatText("%d/%d %s %s", socket.soi_kind, socket.tcpsi_state,
                    end(socket.insi_laddr, socket.insi_lport).c_str(),
                    end(socket.insi_faddr, socket.insi_fport).c_str());
}
const std::string kNoIPv4 = textOf({});

std::uint16_t portOf(const Descriptor& socket) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &length);
  // The port is at the same offset for both families.
  return ntohs(reinterpret_cast<sockaddr_in*>(&address)->sin_port);
}

bool with(int (*call)(int, const sockaddr*, socklen_t), const Descriptor& socket, const char* host,
          std::uint16_t port) {
  addrinfo hints{}, *address = nullptr;
  hints.ai_flags = AI_NUMERICHOST;
  if (getaddrinfo(host, std::to_string(port).c_str(), &hints, &address) != 0) return false;
  const bool done = call(socket.get(), address->ai_addr, address->ai_addrlen) == 0;
  freeaddrinfo(address);
  return done;
}

// Bound to a port that the kernel chooses; invalid if the host has no such address.
Descriptor bound(int family, int type, const char* host, bool onlyIPv6 = false) {
  Descriptor made(socket(family, type | SOCK_CLOEXEC, 0));
  const int only = onlyIPv6 ? 1 : 0;
  if (family == AF_INET6) setsockopt(made.get(), IPPROTO_IPV6, IPV6_V6ONLY, &only, sizeof only);
  if (!with(::bind, made, host, 0)) return Descriptor();
  if (type == SOCK_STREAM) listen(made.get(), 4);
  return made;
}

struct Known {
  const char* what;
  Descriptor socket;
  std::string text;
};

// Sockets of every kind in this process.
std::vector<Known> knownSockets() {
  std::vector<Known> known;
  // `local` is the kind, the state and the host that are reported of it, or nothing for no IPv4.
  const auto add = [&](const char* what, Descriptor socket, const std::string& local = "",
                       const std::string& foreign = "0.0.0.0:0") {
    if (!socket) return;
    const std::string own = local + ":" + std::to_string(portOf(socket)) + " " + foreign;
    known.push_back({what, std::move(socket), local.empty() ? kNoIPv4 : own});
  };
  const auto at = [](const Descriptor& socket) {
    return "127.0.0.1:" + std::to_string(portOf(socket));
  };
  const auto connection = [](const Descriptor& listener) {
    Descriptor client(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_TRUE(with(::connect, client, "127.0.0.1", portOf(listener)));
    return std::pair(std::move(client), Descriptor(accept(listener.get(), nullptr, nullptr)));
  };
  Descriptor listener = bound(AF_INET, SOCK_STREAM, "127.0.0.1");
  auto [client, accepted] = connection(listener);
  add("accepted", std::move(accepted), "2/4 127.0.0.1", at(client));
  add("client", std::move(client), "2/4 127.0.0.1", at(listener));
  auto [left, gone] = connection(listener);
  gone = Descriptor();
  char byte;
  EXPECT_EQ(read(left.get(), &byte, 1), 0);  // the end of the stream has arrived
  add("peer has gone", std::move(left), "2/5 127.0.0.1", at(listener));
  add("listener", std::move(listener), "2/1 127.0.0.1");

  if (Descriptor dual = bound(AF_INET6, SOCK_STREAM, "::")) {
    auto [outside, inside] = connection(dual);
    add("IPv4 accepted by IPv6", std::move(inside), "2/4 127.0.0.1", at(outside));
    add("its client", std::move(outside), "2/4 127.0.0.1", at(dual));
    add("dual-stack listener", std::move(dual), "2/1 0.0.0.0");
  }
  add("dual-stack UDP", bound(AF_INET6, SOCK_DGRAM, "::"), "1/0 0.0.0.0");
  add("IPv6-only listener", bound(AF_INET6, SOCK_STREAM, "::", true));
  add("IPv6-only UDP", bound(AF_INET6, SOCK_DGRAM, "::", true));
  add("IPv6 address", bound(AF_INET6, SOCK_STREAM, "::1"));

  Descriptor udp = bound(AF_INET, SOCK_DGRAM, "127.0.0.1");
  Descriptor connected = bound(AF_INET, SOCK_DGRAM, "127.0.0.1");
  EXPECT_TRUE(with(::connect, connected, "127.0.0.1", portOf(udp)));
  add("connected UDP", std::move(connected), "1/0 127.0.0.1", at(udp));
  add("UDP", std::move(udp), "1/0 127.0.0.1");
  add("unix", Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)));
  return known;
}

TEST(LinuxProcessInformation, FindsSocketsWithKindStateAndBothEnds) {
  const std::vector<Known> known = knownSockets();
  const ChildForTest child([] { return pause(); });  // holds the same ones
  LinuxProcessInformation information;
  for (const pid_t pid : {std::int32_t{getpid()}, std::int32_t{child.pid()}}) {
    ASSERT_GT(information.proc_listpids({}).bytes, 0);
    proc_taskallinfo task;
    ASSERT_EQ(information.proc_pidinfo(pid, task).bytes, kProcTaskAllInfoSize);
    std::vector<proc_fdinfo> descriptors(task.openFiles);
    ASSERT_EQ(information.proc_pidinfo(pid, std::span(descriptors)).bytes, 8 * task.openFiles);
    std::map<int, std::uint32_t> types;
    for (const auto& descriptor : descriptors) types[descriptor.proc_fd] = descriptor.proc_fdtype;
    for (const Known& socket : known) {
      SCOPED_TRACE(socket.what);
      EXPECT_EQ(types.at(socket.socket.get()), kDescriptorIsSocket);
      socket_fdinfo found;
      ASSERT_EQ(information.proc_pidfdinfo(pid, socket.socket.get(), found).bytes,
                kSocketFdInfoSize);
      EXPECT_EQ(textOf(found), socket.text);
    }
  }
  // As on a kernel without socket diagnostics.
  SocketDiagnostics tables;
  tables.readTables();
  for (const Known& socket : known) {
    if (std::string_view(socket.what).starts_with("IPv6-only")) continue;  // not listed there
    struct stat status {};
    ASSERT_EQ(fstat(socket.socket.get(), &status), 0);
    const socket_fdinfo* const found = tables.find(static_cast<std::uint32_t>(status.st_ino));
    EXPECT_EQ(found != nullptr ? textOf(*found) : kNoIPv4, socket.text) << socket.what;
  }
}

// A pending signal makes the kernel return a partial list, as do stopping and continuing a process.
TEST(LinuxProcessInformation, ListsEveryDescriptorWhileSignalsArrive) {
  constexpr int kRounds = 100;
  constexpr std::uint32_t kDescriptors = 900;  // more than fit in two replies
  const ChildForTest child([] {
    LinuxProcessInformation information;
    proc_taskallinfo task;
    information.proc_pidinfo(getpid(), task);
    for (auto open = task.openFiles; open < kDescriptors; ++open) {
      if (dup(STDERR_FILENO) < 0) return 2;
    }
    for (int round = 0; round < kRounds; ++round) {
      information.proc_pidinfo(getpid(), task);
      if (task.openFiles < kDescriptors) return 1;
    }
    return 0;
  });
  siginfo_t ended{};
  while (ended.si_pid == 0 &&
         waitid(P_PID, static_cast<id_t>(child.pid()), &ended, WEXITED | WNOHANG | WNOWAIT) == 0) {
    kill(child.pid(), SIGSTOP);
    kill(child.pid(), SIGCONT);
  }
  EXPECT_EQ(ended.si_status, 0);
}

}  // namespace
}  // namespace zorva
