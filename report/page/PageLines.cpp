// SPDX-License-Identifier: Apache-2.0
#include "report/page/PageLines.h"

#include <algorithm>
#include <array>
#include <new>
#include <zlib.h>

#include "platform/base/Text.h"

namespace zorva {
namespace {

void appendBase64(std::string& to, std::string_view bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const auto byteAt = [&](std::size_t i) {
    return i < bytes.size() ? static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) : 0U;
  };
  to.reserve(to.size() + bytes.size() / 3 * 4 + 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::uint32_t three = byteAt(i) << 16 | byteAt(i + 1) << 8 | byteAt(i + 2);
    for (unsigned digit = 0; digit < 4; ++digit) {
      const bool isPadding = i + digit > bytes.size();
      to += isPadding ? '=' : kDigits[three >> (18 - 6 * digit) & 63U];
    }
  }
}

bool isPlain(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return byte >= ' ' && byte < 127; });
}

}  // namespace

// One stream for all chunks, so that its tables are allocated once.
class PageLines::Deflate {
 public:
  Deflate() {
    // A negative window size means no header, as in "deflate-raw". The call fails only if there is
    // no memory.
    if (deflateInit2(&stream_, 6, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY) != Z_OK) {
      throw std::bad_alloc();
    }
  }
  Deflate(const Deflate&) = delete;
  Deflate& operator=(const Deflate&) = delete;
  ~Deflate() { deflateEnd(&stream_); }

  std::string_view operator()(std::string_view text) {
    deflateReset(&stream_);
    packed_.resize(deflateBound(&stream_, text.size()));
    // The library does not write to its input, but the type of its pointer is not const.
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream_.avail_in = static_cast<uInt>(text.size());
    stream_.next_out = reinterpret_cast<Bytef*>(packed_.data());
    stream_.avail_out = static_cast<uInt>(packed_.size());
    deflate(&stream_, Z_FINISH);  // there is room for all of it
    return {packed_.data(), stream_.total_out};
  }

 private:
  z_stream stream_{};
  std::string packed_;
};

PageLines::PageLines(std::string& to, std::size_t log)
    : to_(to), log_(log), deflate_(std::make_unique<Deflate>()) {}

PageLines::~PageLines() = default;

// In a chunk, a piece is the seconds since the previous one (empty if 0), a tabulator, and its text
// with carriage returns between its lines. The text from safeText contains neither of the two
// characters.
void PageLines::add(std::string_view raw, LogPosition position, AxisTime at) {
  if (position != end_) finish();
  end_ = position + 1;
  if (pieces_ == 0) {
    chunks_.push_back({position, at});
    before_ = at;
  }
  if (at != before_) text_ += std::to_string(at - before_);
  before_ = at;
  text_ += '\t';
  const std::string_view shown = raw.substr(0, kMaxLength);
  for (std::string_view rest = trimmed(shown).empty() ? std::string_view() : shown;
       !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    if (isPlain(line)) {
      text_ += line;
    } else {
      text_ += safeText(line);
    }
    if (!rest.empty()) text_ += '\r';
  }
  if (shown.size() < raw.size()) {
    text_ += formatText("\u2026 (%zu more bytes)", raw.size() - shown.size());
  }
  text_ += '\n';
  if (++pieces_ == kPieces || text_.size() >= kBytes) finish();
}

void PageLines::finish() {
  if (pieces_ == 0) return;
  to_ += formatText("<script type=\"application/octet-stream\" id=\"lines-%zu-%zu\">", log_,
                    chunks_.size() - 1);
  appendBase64(to_, (*deflate_)(text_));
  to_ += "</script>\n";
  text_.clear();
  pieces_ = 0;
}

}  // namespace zorva
