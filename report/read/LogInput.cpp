// SPDX-License-Identifier: Apache-2.0
#include "report/read/LogInput.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "report/read/Decompression.h"

namespace zorva {
namespace {

std::string adviceFor(int error) {
  switch (error) {
    case ENOENT:
      return " (logs are in /Library/Logs/Faultbox)";
    case EACCES:
      return " (read it as its owner, or as root)";
    default:
      return "";
  }
}

}  // namespace

struct LogInput::Packed {
  std::unique_ptr<Decompression> unpacker;
  std::string first;  // the bytes by which it was recognised
  std::array<char, 128 << 10> buffer;
  std::string_view rest;  // of either, not unpacked yet
  bool ended = false;     // all stored bytes have been read
};

LogInput::LogInput() = default;
LogInput::LogInput(LogInput&& other) noexcept = default;
LogInput::~LogInput() = default;

std::optional<LogInput> LogInput::open(const std::string& path, std::string& problem) {
  LogInput input;
  const bool standard = path == "-";
  input.name_ = standard ? "standard input" : path;
  if (!standard) input.file_ = Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  input.descriptor_ = standard ? STDIN_FILENO : input.file_.get();
  struct stat status {};
  int error = input.descriptor_ < 0 || ::fstat(input.descriptor_, &status) != 0 ? errno : 0;
  if (error == 0 && S_ISDIR(status.st_mode)) error = EISDIR;
  if (error != 0) {
    problem = input.name_ + ": cannot be read: " + std::strerror(error) + adviceFor(error);
    return std::nullopt;
  }
  if (S_ISREG(status.st_mode)) input.size_ = static_cast<std::uint64_t>(status.st_size);
  input.identity_ = {status.st_dev, status.st_ino};
  ::posix_fadvise(input.descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
  return input;
}

void LogInput::toLast(std::uint64_t bytes) {
  if (!size_ || *size_ < position_ + bytes) return;
  if (::lseek(descriptor_, static_cast<off_t>(*size_ - bytes), SEEK_SET) >= 0) {
    position_ = *size_ - bytes;
  }
}

bool LogInput::isCompressed() const {
  std::array<char, Decompression::kMagicLength> begin;
  const ssize_t count = size_ ? ::pread(descriptor_, begin.data(), begin.size(), 0) : 0;
  return count > 0 && Decompression::of({begin.data(), static_cast<std::size_t>(count)}) != nullptr;
}

bool LogInput::isFileAt(const std::string& path) const {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 &&
         identity_ == std::pair<std::uint64_t, std::uint64_t>(status.st_dev, status.st_ino);
}

std::ptrdiff_t LogInput::read(char* to, std::size_t most) {
  const std::ptrdiff_t count = packed_ != nullptr ? readPacked(to, most)
                               : begun_           ? readStored(to, most)
                                                  : readFirst(to, most);
  if (count > 0 && head_.size() < kHeadLength) {
    head_.append(to, std::min(kHeadLength - head_.size(), static_cast<std::size_t>(count)));
  }
  return count;
}

std::ptrdiff_t LogInput::readStored(char* to, std::size_t most) {
  ssize_t count;
  do {
    count = ::read(descriptor_, to, most);
  } while (count < 0 && errno == EINTR);
  if (count > 0) position_ += static_cast<std::uint64_t>(count);
  return count;
}

// The first bytes decide whether the contents are compressed. A pipe may deliver them one by one;
// those that cannot be a compressed file's are returned at once.
std::ptrdiff_t LogInput::readFirst(char* to, std::size_t most) {
  std::size_t held = 0;
  while (held < most) {
    const std::ptrdiff_t count = readStored(to + held, most - held);
    if (count < 0) return count;
    held += static_cast<std::size_t>(count);
    if (count == 0 || !Decompression::maybe({to, std::min(held, Decompression::kMagicLength)})) {
      break;
    }
  }
  begun_ = held > 0;
  auto unpacker = Decompression::of({to, held});
  if (unpacker == nullptr) return static_cast<std::ptrdiff_t>(held);
  packed_ = std::make_unique<Packed>();
  packed_->unpacker = std::move(unpacker);
  packed_->first.assign(to, held);
  packed_->rest = packed_->first;
  return readPacked(to, most);
}

std::ptrdiff_t LogInput::readPacked(char* to, std::size_t most) {
  const auto fail = [&](const std::string& what) {
    const std::uint64_t at = position_ - packed_->rest.size();
    const std::string program = packed_->unpacker->program();
    problem_ = what + " after byte " + std::to_string(at) + " of the compressed file ('" + program +
               " -dc FILE | zorva-report' reads what is left)";
    errno = EBADMSG;
    return -1;
  };
  for (;;) {
    const auto count = packed_->unpacker->unpack(packed_->rest, packed_->ended, to, most);
    if (!count) return fail("damaged (" + packed_->unpacker->problem() + ")");
    if (*count > 0) return static_cast<std::ptrdiff_t>(*count);
    if (!packed_->rest.empty()) continue;
    if (packed_->ended) return packed_->unpacker->isComplete() ? 0 : fail("cut off");
    const std::ptrdiff_t stored = readStored(packed_->buffer.data(), packed_->buffer.size());
    if (stored < 0) return stored;
    packed_->ended = stored == 0;
    packed_->rest = {packed_->buffer.data(), static_cast<std::size_t>(stored)};
  }
}

}  // namespace zorva
