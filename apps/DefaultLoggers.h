// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/LoggerTable.h"

namespace zorva {

/// Every logger class, in the order in which the default loggers are created.
LoggerTable defaultLoggers();

}  // namespace zorva
