// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace zorva {

/// What a file is that has no piece of a log, by its first bytes: "an ELF program or library".
std::string foreignKind(std::string_view begin);

}  // namespace zorva
