// SPDX-License-Identifier: Apache-2.0
#include <cstdio>

#include "platform/notifications/linux/NotifyCommand.h"
#include "platform/system/ProcessSetUp.h"

int main(int count, char** arguments) {
  zorva::prepareProcess();
  return zorva::notifyCommand({arguments + (count > 0 ? 1 : 0), arguments + count},
                              zorva::NotificationDirectories::ofProcess(), stdout, stderr);
}
