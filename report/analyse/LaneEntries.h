// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "report/analyse/OpenSpans.h"
#include "report/analyse/WakeEntries.h"
#include "report/read/LogReader.h"

namespace zorva {

/// An entry that reports states and values from now on, and where to report them.
struct LaneEntry {
  std::span<const LogField> fields;
  LogMark now;
  OpenSpans& spans;
  LogHistorySink& sink;
  std::string& scratch;  ///< buffer for composed texts

  std::string_view value(std::string_view key) const { return valueOf(fields, key); }
  std::int64_t integer(std::string_view key) const { return integerOf(fields, key); }
};

using LaneHandler = void (*)(const LaneEntry&);

/// The handler of a category's entries; null if they are handled elsewhere or not used.
LaneHandler laneHandlerOf(std::string_view category);

}  // namespace zorva
