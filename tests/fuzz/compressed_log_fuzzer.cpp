// SPDX-License-Identifier: Apache-2.0
// A compressed log may be cut off or damaged. For any bytes, reading them a few at a time gives the
// same as reading them at once: the same text, or a problem. What a compressor has made is unpacked
// to its text; a part of it gives the text's beginning, and a problem that is one line.
//
// An input is a byte for how the contents were compressed, one for how much is read at a time, two
// for the place of the damage, and the contents.

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <lzma.h>
#include <string>
#include <sys/mman.h>
#include <vector>
#include <zlib.h>
#include <zstd.h>

#include "platform/base/Text.h"
#include "report/read/Decompression.h"
#include "report/read/LogInput.h"
#include "tests/fuzz/Require.h"

namespace zorva {
namespace {

constexpr std::size_t kMost = 1 << 20;  // bytes of text; what goes beyond is not compared

struct Unpacked {
  std::string text;
  std::string problem;
};

std::string gzip(std::string text) {
  z_stream stream{};
  REQUIRE(::deflateInit2(&stream, 1, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY) == Z_OK);
  std::string packed(::deflateBound(&stream, text.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(text.data());
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  REQUIRE(::deflate(&stream, Z_FINISH) == Z_STREAM_END);
  packed.resize(stream.total_out);
  ::deflateEnd(&stream);
  return packed;
}

std::string xz(const std::string& text) {
  std::string packed(::lzma_stream_buffer_bound(text.size()), '\0');
  std::size_t size = 0;
  REQUIRE(::lzma_easy_buffer_encode(0, LZMA_CHECK_CRC64, nullptr,
                                    reinterpret_cast<const std::uint8_t*>(text.data()), text.size(),
                                    reinterpret_cast<std::uint8_t*>(packed.data()), &size,
                                    packed.size()) == LZMA_OK);
  packed.resize(size);
  return packed;
}

std::string zstd(const std::string& text) {
  static ZSTD_CCtx* const context = ::ZSTD_createCCtx();
  ::ZSTD_CCtx_setParameter(context, ZSTD_c_checksumFlag, 1);
  std::string packed(::ZSTD_compressBound(text.size()), '\0');
  packed.resize(::ZSTD_compress2(context, packed.data(), packed.size(), text.data(), text.size()));
  return packed;
}

// By the file, as zorva-report does.
Unpacked readFile(const std::string& bytes, std::size_t most) {
  const Descriptor file(::memfd_create("log", MFD_CLOEXEC));
  REQUIRE(::write(file.get(), bytes.data(), bytes.size()) == std::ssize(bytes));
  std::string problem;
  auto input = LogInput::open("/proc/self/fd/" + std::to_string(file.get()), problem);
  REQUIRE(input.has_value());
  Unpacked unpacked;
  std::vector<char> buffer(most);
  std::ptrdiff_t count = 1;
  while (unpacked.text.size() < kMost && (count = input->read(buffer.data(), most)) > 0) {
    REQUIRE(count <= static_cast<std::ptrdiff_t>(most));
    unpacked.text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  REQUIRE(count >= 0 || errno == EBADMSG);
  unpacked.problem = input->problem();
  REQUIRE((count < 0) == !unpacked.problem.empty());
  REQUIRE(safeText(unpacked.problem) == unpacked.problem);
  REQUIRE(input->head() == unpacked.text.substr(0, LogInput::kHeadLength));
  REQUIRE(input->position() <= bytes.size());
  return unpacked;
}

// By the decompression alone, of so many bytes at a time.
Unpacked readPieces(Decompression& unpacker, std::string_view bytes, std::size_t piece) {
  Unpacked unpacked;
  char buffer[64];
  for (bool last = false; unpacked.text.size() < kMost;) {
    std::string_view taken = bytes.substr(0, piece);
    last = taken.empty();
    bytes.remove_prefix(taken.size());
    for (std::size_t count = 1; count > 0 || !taken.empty();) {
      const std::size_t before = taken.size();
      const auto result = unpacker.unpack(taken, last, buffer, sizeof buffer);
      if (!result) return {unpacked.text, unpacker.problem()};
      count = *result;
      REQUIRE(count <= sizeof buffer && (count > 0 || taken.size() < before || taken.empty()));
      unpacked.text.append(buffer, count);
      if (unpacked.text.size() >= kMost) return unpacked;
    }
    if (last) break;
  }
  if (!unpacker.isComplete()) unpacked.problem = "cut off";
  return unpacked;
}

void check(std::uint8_t kind, std::size_t piece, std::size_t place, const std::string& contents) {
  using Packer = std::string (*)(std::string);
  static const Packer packers[] = {[](std::string text) { return text; }, gzip,
                                   [](std::string text) { return xz(text); },
                                   [](std::string text) { return zstd(text); }};
  const bool packed = kind % 4 != 0;
  std::string bytes = packers[kind % 4](contents);
  // Two files one after the other, and a tape's zeros.
  if (packed && kind & 0x10) bytes += packers[kind % 4](contents);
  const std::string text = packed && kind & 0x10 ? contents + contents : contents;
  // And many that are empty.
  const std::string empty = packers[kind % 4]("");
  for (int i = packed && kind & 0x80 && piece == 255 ? 20000 : 0; i > 0; --i) bytes += empty;
  const bool cut = packed && kind & 0x20, flipped = packed && kind & 0x40;
  place = std::min(place, bytes.size());
  if (cut) bytes.resize(place);
  if (flipped && place < bytes.size()) bytes[place] ^= static_cast<char>(1 << kind / 4 % 4);

  const Unpacked whole = readFile(bytes, kMost);
  const Unpacked some = readFile(bytes, piece + Decompression::kMagicLength);
  const auto unpacker = Decompression::of(bytes);
  // libzstd lets some damage pass that it finds when it has the whole frame; the text is the same.
  const bool lenient = unpacker != nullptr && unpacker->program() == std::string_view("zstd") &&
                       (!packed || flipped);
  REQUIRE(lenient || whole.problem.empty() == some.problem.empty() || whole.text.size() >= kMost ||
          some.text.size() >= kMost);
  REQUIRE(whole.problem.empty() && !lenient ? some.text.starts_with(whole.text.substr(0, kMost))
                                            : some.text.starts_with(whole.text));
  if (unpacker == nullptr) {
    REQUIRE(whole.text == bytes.substr(0, kMost) && whole.problem.empty());
    return;
  }
  for (std::size_t i = 0; i < Decompression::kMagicLength && i < bytes.size(); ++i) {
    REQUIRE(Decompression::maybe({bytes.data(), i}) || Decompression::of({bytes.data(), i}));
  }
  const Unpacked pieces = readPieces(*unpacker, bytes, piece + 1);
  if (pieces.text.size() < kMost && whole.text.size() < kMost) {
    REQUIRE(lenient || pieces.problem.empty() == whole.problem.empty());
    REQUIRE(whole.problem.empty() && !lenient ? pieces.text == whole.text
                                              : pieces.text.starts_with(whole.text));
  }
  if (!packed || text.size() >= kMost) return;
  if (whole.problem.empty()) {
    // A cut between two files leaves the first one.
    REQUIRE(whole.text == text || (cut && kind & 0x10 && whole.text == contents));
  } else {
    REQUIRE(cut || flipped);
    REQUIRE(flipped || text.starts_with(whole.text));
  }
}

}  // namespace
}  // namespace zorva

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  zorva::check(data[0], data[1], static_cast<std::size_t>(data[2]) << 8 | data[3],
               std::string(data + 4, data + size));
  return 0;
}
