#pragma once

#include <string>
#include <string_view>

namespace zorva {

/// Appends a JSON text with its quotes that can stand in an element of a page: nothing in it ends
/// the element, opens a comment or breaks a line. Control characters of the text, and bytes that
/// are no UTF-8, become visible as safeText has it.
void appendPageText(std::string& to, std::string_view text);

/// Appends a number: whole ones without a fraction, what is not finite as null.
void appendPageNumber(std::string& to, double number);

}  // namespace zorva
