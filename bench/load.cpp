// SPDX-License-Identifier: Apache-2.0
// The load that the comparison measures under:
//
//     load PROCESSES SOCKETS
//
// Starts sleeping processes with SOCKETS sockets each on loopback, one in three UDP, the others
// listening TCP. Prints a line "PORT PROCESS" for each socket, then "ready", and ends them all when
// its standard input does.

#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/base/Descriptor.h"

namespace {

using zorva::Descriptor;

// Binds to a port that the kernel chooses. Returns the port, or 0.
int openSocket(int type, Descriptor& made) {
  made = Descriptor(socket(AF_INET, type, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  if (!made || bind(made.get(), any, length) != 0 || getsockname(made.get(), any, &length) != 0 ||
      (type == SOCK_STREAM && listen(made.get(), 1) != 0)) {
    std::perror("load: socket");
    return 0;
  }
  return ntohs(address.sin_port);
}

// False if the process or a socket could not be created.
bool startOwner(int sockets, std::vector<pid_t>& owners) {
  const pid_t parent = getpid();
  std::vector<Descriptor> made(static_cast<std::size_t>(sockets));
  std::vector<int> ports;
  for (std::size_t n = 0; n < made.size(); ++n) {
    ports.push_back(openSocket(n % 3 == 2 ? SOCK_DGRAM : SOCK_STREAM, made[n]));
    if (ports.back() == 0) return false;
  }
  const pid_t owner = fork();
  if (owner < 0) {
    std::perror("load: fork");
    return false;
  }
  if (owner == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(0);
    for (;;) pause();
  }
  owners.push_back(owner);
  for (const int port : ports) std::printf("%d %d\n", port, owner);
  std::fflush(stdout);  // so that no child inherits it
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const int processes = argc == 3 ? std::atoi(argv[1]) : 0;
  const int sockets = argc == 3 ? std::atoi(argv[2]) : -1;
  if (processes < 1 || sockets < 0) {
    std::fprintf(stderr, "usage: load PROCESSES SOCKETS\n");
    return 2;
  }
  std::vector<pid_t> owners;
  bool started = true;
  while (started && owners.size() < static_cast<std::size_t>(processes)) {
    started = startOwner(sockets, owners);
  }
  if (started) {
    std::puts("ready");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
  }
  for (const pid_t owner : owners) kill(owner, SIGKILL);
  for (const pid_t owner : owners) waitpid(owner, nullptr, 0);
  return started ? 0 : 1;
}
