// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "apps/DefaultLoggers.h"
#include "apps/ProcessSetUp.h"
#include "core/ZorvaMain.h"
#include "core/ZorvaState.h"
#include "platform/assemble/LinuxPlatform.h"

int main(int argc, char* argv[]) {
  zorva::prepareProcess();
  std::unique_ptr<zorva::LinuxPlatform> machine;
  const auto makePlatform = [&machine]() -> const zorva::Platform* {
    machine = zorva::makeLinuxPlatform();
    return machine ? &machine->platform() : nullptr;
  };
  const int status =
      zorva::ZorvaMain(argc, argv, {makePlatform, zorva::reportReady}, zorva::defaultLoggers());
  machine.reset();  // writes the lines that wait for standard error
  if (zorva::sZorvaContext.readerIsGone) zorva::endByBrokenPipe();
  return status;
}
