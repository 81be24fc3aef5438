// SPDX-License-Identifier: Apache-2.0
// Entries of the log on standard output.
//
//     entries COUNT            COUNT entries, as loggers write them
//     entries COUNT --bare     as many writes of the same number of bytes, and nothing else

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#include "core/LogStream.h"
#include "core/NotificationCenter.h"
#include "core/ZVLogger.h"
#include "platform/assemble/LinuxPlatform.h"
#include "platform/base/Text.h"

int main(int argc, char** argv) {
  const int count = argc > 1 ? std::atoi(argv[1]) : 0;
  if (count < 1) {
    std::fprintf(stderr, "usage: entries COUNT [--bare]\n");
    return 2;
  }
  if (argc > 2 && std::strcmp(argv[2], "--bare") == 0) {
    const std::string line =
        "11/16/26 14:00:00 [Battery] level=87.61%; voltage=3980 mV; current=-260 mA; "
        "max_capacity=1400; charging_state=Inactive;\n";
    for (int i = 0; i < count; ++i) {
      if (::write(STDOUT_FILENO, line.data(), line.size()) < 0) return 1;
    }
    return 0;
  }
  const auto machine = zorva::makeLinuxPlatform();
  if (!machine) return 1;
  const zorva::Platform& platform = machine->platform();
  const auto dates = platform.dates.makeFormatter(zorva::ZVLogger::kEntryDatePattern);
  zorva::NotificationCenter notifications;
  zorva::ZVLogger logger(
      {platform.clock, *dates, platform.systemLog, platform.systemNotifications, notifications});
  zorva::LogStream stream(STDOUT_FILENO, zorva::LogStream::Ownership::Borrowed);
  logger.setLogFile(&stream);
  logger.setEnabled(true);
  for (int i = 0; i < count; ++i) {
    logger.logEntryWithBody("Battery",
                            zorva::formatText(" level=%.2f%%; voltage=%d mV; current=%d mA; "
                                              "max_capacity=%d; charging_state=%s;",
                                              87.61, 3980, -260, 1400, "Inactive"));
  }
  return 0;
}
