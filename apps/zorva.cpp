#include <cstdlib>

#include "apps/LoggerTable.h"
#include "core/ZorvaMain.h"
#include "platform/assemble/LinuxPlatform.h"
#include "platform/system/ProcessSetUp.h"

int main(int argc, char* argv[]) {
  zorva::prepareProcess();
  const auto machine = zorva::makeLinuxPlatform();
  if (!machine) return EXIT_FAILURE;
  return zorva::ZorvaMain(argc, argv, machine->platform(), zorva::loggerTable());
}
