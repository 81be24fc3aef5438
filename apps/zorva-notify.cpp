#include <cstdio>

#include "platform/linux/NotifyCommand.h"

int main(int count, char** arguments) {
  return zorva::notifyCommand({arguments + (count > 0 ? 1 : 0), arguments + count},
                              zorva::NotificationDirectories::ofProcess(), stdout, stderr);
}
