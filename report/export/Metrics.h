// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "report/analyse/LogSummary.h"
#include "report/answer/Answer.h"

namespace zorva {

/// The totals of a log as text that Prometheus' exporters and OpenMetrics parsers read;
/// docs/export.md lists them. All are gauges: they are of this log, or of the requested part of it,
/// and another log's may be less. A list of names has the kMaxMetricNames with the greatest values.
std::string metricsText(const LogSummary& summary, const Answer& answer);
inline constexpr std::size_t kMaxMetricNames = 20;

}  // namespace zorva
