// SPDX-License-Identifier: Apache-2.0
#include "report/read/Decompression.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <lzma.h>
#include <new>
#include <zlib.h>
#include <zstd.h>

namespace zorva {
namespace {

constexpr std::string_view kGzip = "\x1f\x8b";
constexpr std::string_view kXz(
    "\xfd"
    "7zXZ\0",
    6);
constexpr std::string_view kZstandard = "\x28\xb5\x2f\xfd";

class Gzip : public Decompression {
 public:
  Gzip() {
    constexpr int kWithGzipHeader = 16;
    if (::inflateInit2(&stream_, MAX_WBITS + kWithGzipHeader) != Z_OK) throw std::bad_alloc();
  }
  Gzip(const Gzip&) = delete;
  Gzip& operator=(const Gzip&) = delete;
  ~Gzip() override { ::inflateEnd(&stream_); }

  const char* program() const override { return "gzip"; }

  std::optional<std::size_t> unpack(std::string_view& from, bool, char* to,
                                    std::size_t most) override {
    for (;;) {
      if (complete_) {
        // A tape's blocks are filled up with zeros.
        from.remove_prefix(std::min(from.find_first_not_of('\0'), from.size()));
        if (from.empty()) return 0;
        if (::inflateReset(&stream_) != Z_OK) return fail("cannot begin again");
        complete_ = false;
      }
      stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(from.data()));
      stream_.avail_in = static_cast<uInt>(from.size());
      stream_.next_out = reinterpret_cast<Bytef*>(to);
      stream_.avail_out = static_cast<uInt>(most);
      const int result = ::inflate(&stream_, Z_NO_FLUSH);
      from.remove_prefix(from.size() - stream_.avail_in);
      complete_ = result == Z_STREAM_END;
      if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
        return fail(stream_.msg != nullptr ? stream_.msg : "not gzip");
      }
      const std::size_t count = most - stream_.avail_out;
      // Another file may follow one that is empty; or all that was taken is a header.
      if (count > 0 || from.empty() || !complete_) return count;
    }
  }

 private:
  z_stream stream_{};
};

class Xz : public Decompression {
 public:
  Xz() {
    constexpr std::uint64_t kMaxMemory = 256 << 20;
    if (::lzma_stream_decoder(&stream_, kMaxMemory, LZMA_CONCATENATED) != LZMA_OK) {
      throw std::bad_alloc();
    }
  }
  Xz(const Xz&) = delete;
  Xz& operator=(const Xz&) = delete;
  ~Xz() override { ::lzma_end(&stream_); }

  const char* program() const override { return "xz"; }

  std::optional<std::size_t> unpack(std::string_view& from, bool last, char* to,
                                    std::size_t most) override {
    stream_.next_in = reinterpret_cast<const std::uint8_t*>(from.data());
    stream_.avail_in = from.size();
    stream_.next_out = reinterpret_cast<std::uint8_t*>(to);
    stream_.avail_out = most;
    const lzma_ret result = ::lzma_code(&stream_, last ? LZMA_FINISH : LZMA_RUN);
    from.remove_prefix(from.size() - stream_.avail_in);
    complete_ = result == LZMA_STREAM_END;
    switch (result) {
      case LZMA_OK:
      case LZMA_STREAM_END:
      case LZMA_BUF_ERROR:
        return most - stream_.avail_out;
      case LZMA_MEMLIMIT_ERROR:
        return fail("unpacking it takes more than 256 MiB of memory");
      case LZMA_FORMAT_ERROR:
        return fail("not xz");
      case LZMA_OPTIONS_ERROR:
        return fail("made with options that this version of xz does not know");
      default:
        return fail("wrong bytes");
    }
  }

 private:
  lzma_stream stream_ = LZMA_STREAM_INIT;
};

class Zstandard : public Decompression {
 public:
  Zstandard() : stream_(::ZSTD_createDStream()) {
    if (stream_ == nullptr) throw std::bad_alloc();
  }
  Zstandard(const Zstandard&) = delete;
  Zstandard& operator=(const Zstandard&) = delete;
  ~Zstandard() override { ::ZSTD_freeDStream(stream_); }

  const char* program() const override { return "zstd"; }

  std::optional<std::size_t> unpack(std::string_view& from, bool, char* to,
                                    std::size_t most) override {
    ZSTD_inBuffer input{from.data(), from.size(), 0};
    ZSTD_outBuffer output{to, most, 0};
    // At the end of a file, another one's beginning would be asked for.
    while (output.pos == 0 && (input.pos < input.size || !complete_)) {
      const std::size_t taken = input.pos;
      const std::size_t result = ::ZSTD_decompressStream(stream_, &output, &input);
      from.remove_prefix(input.pos - taken);
      if (::ZSTD_isError(result) != 0) return fail(::ZSTD_getErrorName(result));
      complete_ = result == 0;
      if (input.pos == taken && output.pos == 0) break;
    }
    return output.pos;
  }

 private:
  ZSTD_DStream* stream_;
};

}  // namespace

bool Decompression::maybe(std::string_view begin) {
  return std::ranges::any_of(std::array<std::string_view, 3>{kGzip, kXz, kZstandard},
                             [&](std::string_view magic) { return magic.starts_with(begin); });
}

std::unique_ptr<Decompression> Decompression::of(std::string_view begin) {
  if (begin.starts_with(kGzip)) return std::make_unique<Gzip>();
  if (begin.starts_with(kXz)) return std::make_unique<Xz>();
  if (begin.starts_with(kZstandard)) return std::make_unique<Zstandard>();
  return nullptr;
}

}  // namespace zorva
