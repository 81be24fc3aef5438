// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "report/page/PageWriter.h"
#include "report/text/Comparison.h"

namespace zorva {

/// What differs between logs, by the hour, as a page shows it above them. The change is that from
/// the first log to the last. The charge comes first, then what changed most.
PageComparison pageComparison(const std::vector<ComparedLog>& logs);

}  // namespace zorva
