// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report/analyse/LogSummary.h"
#include "report/page/PageWriter.h"
#include "report/text/SummaryText.h"

namespace zorva {

/// A log's summary as the page shows it.
PageSummary pageSummary(const LogSummary& summary, const Answer& answer, const LogReading& reading);

}  // namespace zorva
