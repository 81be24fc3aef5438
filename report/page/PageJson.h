// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace zorva {

/// Appends a JSON text with its quotes that is safe in an element of a page: nothing in it ends the
/// element, opens a comment or breaks a line. Control characters, and bytes that are not UTF-8, are
/// made visible as in safeText.
void appendPageText(std::string& to, std::string_view text);

/// Appends a number: whole numbers without a fraction, null if it is not finite.
void appendPageNumber(std::string& to, double number);

}  // namespace zorva
