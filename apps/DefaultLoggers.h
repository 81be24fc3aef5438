#pragma once

#include "core/LoggerTable.h"

namespace zorva {

/// Every logger class, in the order in which the default loggers are made.
LoggerTable defaultLoggers();

}  // namespace zorva
