// SPDX-License-Identifier: Apache-2.0
#include "report/format/LogFormat.h"

#include <algorithm>
#include <vector>

#include "report/format/LogFormat_tables.h"

namespace zorva {

std::span<const EntryFormat> logFormat() {
  static const std::vector<EntryFormat> all = [] {
    std::vector<EntryFormat> entries;
    for (const auto table : {logformat::power(), logformat::radio(), logformat::services()}) {
      entries.insert(entries.end(), table.begin(), table.end());
    }
    std::sort(entries.begin(), entries.end(), [](const EntryFormat& one, const EntryFormat& other) {
      return one.category < other.category;
    });
    return entries;
  }();
  return all;
}

const EntryFormat* entryFormat(std::string_view category) {
  const auto all = logFormat();
  const auto found = std::lower_bound(
      all.begin(), all.end(), category,
      [](const EntryFormat& entry, std::string_view name) { return entry.category < name; });
  return found != all.end() && found->category == category ? &*found : nullptr;
}

}  // namespace zorva
