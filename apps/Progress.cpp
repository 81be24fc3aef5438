// SPDX-License-Identifier: Apache-2.0
#include "apps/Progress.h"

#include <cstdio>
#include <unistd.h>
#include <utility>

namespace zorva {

Progress::Progress(std::string program, const std::vector<LogInput>& inputs)
    : program_(std::move(program)), shown_(::isatty(STDERR_FILENO) != 0) {
  for (const LogInput& input : inputs) {
    if (!input.size()) shown_ = false;
    total_ += input.size().value_or(0);
  }
}

Progress::~Progress() {
  if (reported_) std::fputs("\r\033[K", stderr);
}

void Progress::show(std::uint64_t bytes) {
  next_ = shown_ ? bytes + (1 << 20) : UINT64_MAX;
  const auto now = std::chrono::steady_clock::now();
  if (!shown_ || now - last_ < std::chrono::seconds(1)) return;
  last_ = now;
  reported_ = true;
  std::fprintf(stderr, "\r%s: %.0f %% of %.0f MB", program_.c_str(),
               100.0 * static_cast<double>(bytes) / static_cast<double>(total_),
               static_cast<double>(total_) / 1e6);
}

}  // namespace zorva
