// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <span>

#include "core/ZVLogger.h"
#include "platform/assemble/Platform.h"
#include "platform/base/Registration.h"

namespace zorva {

/// The connection that some loggers share. Its type is known only to the rows of the table.
using SharedConnection = std::shared_ptr<void>;

/// What a logger is created from.
struct LoggerParts {
  const ZVLogger::Services& services;
  const Platform& platform;
  const SharedConnection& telephonyConnection;
};

/// One row of the logger table: how a logger is created, and when.
struct LoggerRow {
  /// Creates the logger; returns null if its initialisation fails.
  std::unique_ptr<ZVLogger> (*make)(const LoggerParts& parts);
  /// The command-line option that selects this logger alone, or 0.
  char option = 0;
  /// The preference that must be set for it to be a default logger, or null.
  const char* preference = nullptr;
  /// Calls back from the run loop when a logger that could not be made, for want of its source, can
  /// be made now. None for a logger that is made at the start or not at all.
  Registration (*observeSource)(const Platform& platform, std::function<void()> appeared) = nullptr;
};

/// What start-up creates: the default loggers in their order, and the connection that some of them
/// share.
struct LoggerTable {
  std::span<const LoggerRow> rows;
  SharedConnection (*makeTelephonyConnection)(const Platform& platform);
};

}  // namespace zorva
