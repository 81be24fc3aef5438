// SPDX-License-Identifier: Apache-2.0
#include "core/LogStream.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace zorva {
namespace {

// A process that shares our standard output may have made it non-blocking; wait for a full pipe as
// a blocking write would.
bool waitUntilWritable(int descriptor) {
  if (errno != EAGAIN) return false;
  pollfd wanted{descriptor, POLLOUT, 0};
  return ::poll(&wanted, 1, -1) > 0 && (wanted.revents & POLLOUT) != 0;
}

}  // namespace

LogStream::~LogStream() {
  flush();
  if (owned_) ::close(descriptor_);
}

void LogStream::flush() {
  if (pending_.empty()) return;
  if (lineIncomplete_) pending_.insert(0, 1, '\n');
  std::size_t written = 0;
  while (written < pending_.size()) {
    const ssize_t count =
        ::write(descriptor_, pending_.data() + written, pending_.size() - written);
    if (count < 0 && (errno == EINTR || waitUntilWritable(descriptor_))) continue;
    if (count < 0 && errno == EPIPE && broken_) broken_();
    if (count <= 0) break;
    written += static_cast<std::size_t>(count);
  }
  if (written > 0) lineIncomplete_ = pending_[written - 1] != '\n';
  pending_.clear();
}

}  // namespace zorva
