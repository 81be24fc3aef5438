// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace zorva {

// The page's own text, made of the files in report/page/ when Zorva is built.

/// From the first byte to where the log's data begin.
std::string_view pageHead();

/// From the end of the log's data to the last byte: the programs that draw them.
std::string_view pageTail();

}  // namespace zorva
