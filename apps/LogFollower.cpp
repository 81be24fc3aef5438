// SPDX-License-Identifier: Apache-2.0
#include "apps/LogFollower.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <poll.h>
#include <sys/inotify.h>
#include <utility>

namespace zorva {
namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr Milliseconds kLongest = std::chrono::hours(24);  // that one call waits

}  // namespace

LogFollower::LogFollower(LogInput input, Quiet quiet)
    : input_(std::move(input)), quiet_(std::move(quiet)) {
  const std::filesystem::path path(input_->name());
  first_ = path.filename().string();
  directory_ = path.has_parent_path() ? path.parent_path().string() : ".";
  extension_ = path.extension().string();
}

std::string LogFollower::watch() {
  if (!input_->size()) return "";  // a pipe: it ends when its writer closes it
  queue_ = Descriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  if (!queue_ || ::inotify_add_watch(queue_.get(), input_->name().c_str(), IN_MODIFY) < 0 ||
      ::inotify_add_watch(queue_.get(), directory_.c_str(), IN_CREATE | IN_MOVED_TO | IN_ONLYDIR) <
          0) {
    return input_->name() + ": cannot be followed: " + std::strerror(errno);
  }
  return "";
}

std::ptrdiff_t LogFollower::read(char* to, std::size_t most) {
  for (;;) {
    const std::ptrdiff_t count = input_->read(to, most);
    if (count != 0) silentSince_ = Clock::now();
    if (count != 0 || !queue_) return count;
    // Events may be older than the text just read, but none is missed: they are read before the
    // next attempt.
    if (!next_) openNext();
    if (next_ && std::exchange(drained_, true)) return 0;
    if (!next_ && !wait()) return 0;
  }
}

bool LogFollower::wait() {
  pollfd events{queue_.get(), POLLIN, 0};
  auto next = quiet_(Seconds(0));
  for (int ready = 0; ready <= 0;) {
    if (!next) return false;
    const auto silence = [&] { return Clock::now() - silentSince_; };
    const auto left = std::chrono::ceil<Milliseconds>(*next - silence());
    ready =
        ::poll(&events, 1, static_cast<int>(std::clamp(left, Milliseconds(0), kLongest).count()));
    if (ready < 0 && errno != EINTR) return false;
    const auto silent = std::chrono::floor<Seconds>(silence());
    if (ready == 0 && silent >= *next) next = quiet_(silent);
  }
  takeEvents();
  return true;
}

void LogFollower::takeEvents() {
  alignas(inotify_event) char buffer[4096];
  for (;;) {
    const ssize_t count = ::read(queue_.get(), buffer, sizeof buffer);
    if (count <= 0) return;
    for (const char* at = buffer; at < buffer + count;) {
      inotify_event event;
      std::memcpy(&event, at, sizeof event);
      if (event.len > 0) consider(at + sizeof event);
      at += sizeof event + event.len;
    }
  }
}

void LogFollower::consider(const std::string& name) {
  const std::filesystem::path path = std::filesystem::path(directory_) / name;
  const bool alike = name == first_ || (!extension_.empty() && path.extension() == extension_);
  // The event may be about the log itself, renamed.
  if (!alike || input_->isFileAt(path.string())) return;
  created_.push_back(path.string());
}

// Files that have been removed again are passed over.
void LogFollower::openNext() {
  std::string problem;
  for (; !next_ && !created_.empty(); created_.pop_front()) {
    auto input = LogInput::open(created_.front(), problem);
    if (!input || input->isSameFile(*input_)) continue;
    next_.emplace(std::move(*input));
    drained_ = false;
  }
}

bool LogFollower::next() {
  if (!next_) return false;
  input_.emplace(std::move(*next_));
  next_.reset();
  ::inotify_add_watch(queue_.get(), input_->name().c_str(), IN_MODIFY);
  return true;
}

}  // namespace zorva
