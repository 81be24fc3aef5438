// SPDX-License-Identifier: Apache-2.0
#include <cstdio>

#include "apps/NotifyCommand.h"
#include "apps/ProcessSetUp.h"

int main(int count, char** arguments) {
  zorva::prepareProcess();
  return zorva::notifyCommand({arguments + (count > 0 ? 1 : 0), arguments + count},
                              zorva::NotificationDirectories::ofProcess(), stdout, stderr);
}
