// SPDX-License-Identifier: Apache-2.0
#include "core/Logging.h"

#include "core/LogFile.h"
#include "core/ZorvaState.h"

namespace zorva {

void StartLogging() {
  StopLogging();
  if (!OpenLogFile()) return;
  for (const auto& logger : sZorvaState.loggers) StartLogger(*logger);
}

void StartLogger(ZVLogger& logger) {
  if (!sZorvaState.logFile) return;
  logger.setLogFile(sZorvaState.logFile.get());
  logger.setEnabled(true);
  logger.log();
}

void StopLogging() {
  for (const auto& logger : sZorvaState.loggers) {
    logger->setEnabled(false);
    logger->setLogFile(nullptr);
  }
  sZorvaState.logFile.reset();
}

}  // namespace zorva
