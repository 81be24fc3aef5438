#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "core/ZVLogger.h"
#include "platform/assemble/Platform.h"

namespace zorva {

class ZVTelephonyConnection;

/// What a logger is made from.
struct LoggerParts {
  const ZVLogger::Services& services;
  const Platform& platform;
  const std::shared_ptr<ZVTelephonyConnection>& telephonyConnection;
};

/// One row of the logger table: a class and how it is made.
struct LoggerRow {
  std::string_view className;
  /// Makes the logger; nothing when its initialisation fails.
  std::unique_ptr<ZVLogger> (*make)(const LoggerParts& parts);
};

/// What start-up makes: the default loggers in their order, and the connection that some of them
/// share.
struct LoggerTable {
  std::span<const LoggerRow> rows;
  std::shared_ptr<ZVTelephonyConnection> (*makeTelephonyConnection)(const Platform& platform);

  /// The row of the class, or none.
  const LoggerRow* rowOf(std::string_view className) const {
    for (const LoggerRow& row : rows) {
      if (row.className == className) return &row;
    }
    return nullptr;
  }
};

}  // namespace zorva
