#include "core/LogStream.h"

#include <unistd.h>

#include <cerrno>

namespace zorva {

LogStream::~LogStream() {
  flush();
  if (owned_) ::close(descriptor_);
}

void LogStream::flush() {
  if (pending_.empty()) return;
  if (lineCut_) pending_.insert(0, 1, '\n');
  std::size_t written = 0;
  while (written < pending_.size()) {
    const ssize_t count =
        ::write(descriptor_, pending_.data() + written, pending_.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    written += static_cast<std::size_t>(count);
  }
  if (written > 0) lineCut_ = pending_[written - 1] != '\n';
  pending_.clear();
}

}  // namespace zorva
