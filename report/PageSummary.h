#pragma once

#include "report/LogSummary.h"
#include "report/PageWriter.h"
#include "report/SummaryText.h"

namespace zorva {

/// A log's sum as the page tells it.
PageSummary pageSummary(const LogSummary& summary, const LogReading& reading);

}  // namespace zorva
