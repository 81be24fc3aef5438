#include <csignal>
#include <cstdlib>

#include "apps/LoggerTable.h"
#include "core/ZorvaMain.h"
#include "platform/linux/LinuxPlatform.h"

int main(int argc, char* argv[]) {
  // A reader that closes our standard output must not end the daemon: the write then just fails.
  std::signal(SIGPIPE, SIG_IGN);
  const auto machine = zorva::makeLinuxPlatform();
  if (!machine) return EXIT_FAILURE;
  return zorva::ZorvaMain(argc, argv, machine->platform(), zorva::loggerTable());
}
