#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "report/analyse/OpenSpans.h"
#include "report/analyse/WakeEntries.h"
#include "report/read/LogReader.h"

namespace zorva {

/// An entry that tells of states and values as they are from now on, and whom to tell.
struct LaneEntry {
  std::span<const LogField> fields;
  LogMark now;
  OpenSpans& spans;
  LogHistorySink& sink;
  std::string& scratch;  ///< for texts that are put together

  std::string_view value(std::string_view key) const { return valueOf(fields, key); }
  std::int64_t integer(std::string_view key) const { return integerOf(fields, key); }
};

using LaneHandler = void (*)(const LaneEntry&);

/// What takes the entries of a category; nothing for those that are told of otherwise, or not.
LaneHandler laneHandlerOf(std::string_view category);

}  // namespace zorva
