// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "report/analyse/LogSummary.h"
#include "report/answer/Answer.h"

namespace zorva {

/// Appends the answer to "what used the battery?" as one line of JSON, with its end:
/// {"report": {"verdict": [...], "findings": [...], "account": {...}, "sleeps": [...],
/// "stretches": [...]}}; zorva-report(1) lists its keys. What is not known is null.
void appendReportJson(const LogSummary& summary, const Answer& answer, std::string& to);

}  // namespace zorva
