// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <limits>

#include "report/format/LogTime.h"
#include "report/read/LogReader.h"

namespace zorva {

/// The requested part of a log. Both ends belong to it.
struct LogWindow {
  static constexpr LogTime kAlways = std::numeric_limits<LogTime>::min();

  LogTime since = kAlways;
  LogTime until = std::numeric_limits<LogTime>::max();

  bool holds(LogTime time) const { return since <= time && time <= until; }
};

/// Decides which pieces of a log are in a window. A piece without a time of its own goes with the
/// entry before it.
class WindowFilter {
 public:
  explicit WindowFilter(const LogWindow& window) : window_(window) {}

  /// To be called for each piece, in the order of the log.
  bool takes(const LogRecord& record) {
    if (record.isTimed()) inside_ = window_.holds(record.time);
    return inside_;
  }

 private:
  LogWindow window_;
  bool inside_ = window_.since == LogWindow::kAlways;
};

}  // namespace zorva
