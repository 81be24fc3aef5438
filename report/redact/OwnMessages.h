// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace zorva {

/// Whether the text of a [Zorva] entry is one of Zorva's own messages. All that they insert are
/// figures: error numbers, sequence numbers of messages, a default.
bool isOwnMessage(std::string_view text);

}  // namespace zorva
