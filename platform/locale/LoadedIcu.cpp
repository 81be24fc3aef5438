// SPDX-License-Identifier: Apache-2.0
#include "platform/locale/LoadedIcu.h"

#include <array>
#include <dlfcn.h>
#include <unicode/udat.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>
#include <vector>

#define ZORVA_TEXT_OF(x) #x
#define ZORVA_TEXT(x) ZORVA_TEXT_OF(x)

namespace zorva {
namespace {

// The functions used, by their names in this version of ICU.
struct Functions {
  decltype(&udat_open) open = nullptr;
  decltype(&udat_format) format = nullptr;
  decltype(&udat_close) close = nullptr;

  bool load() {
    void* const dates = dlopen("libicui18n.so." U_ICU_VERSION_SHORT, RTLD_NOW | RTLD_LOCAL);
    void* const common = dlopen("libicuuc.so." U_ICU_VERSION_SHORT, RTLD_NOW | RTLD_LOCAL);
    if (dates == nullptr || common == nullptr) return false;
    decltype(&uloc_setDefault) setDefault = nullptr;
    if (!find(dates, ZORVA_TEXT(udat_open), open) ||
        !find(dates, ZORVA_TEXT(udat_format), format) ||
        !find(dates, ZORVA_TEXT(udat_close), close) ||
        !find(common, ZORVA_TEXT(uloc_setDefault), setDefault)) {
      return false;
    }
    // For a language without data ICU would use the locale of the environment.
    UErrorCode status = U_ZERO_ERROR;
    setDefault("", &status);
    return U_SUCCESS(status);
  }

 private:
  template <typename Function>
  static bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
  }
};

// Loaded at the first call and never unloaded; null if that failed.
const Functions* functions() {
  static Functions loaded;
  static const bool there = loaded.load();
  return there ? &loaded : nullptr;
}

// Only for ASCII: our own patterns.
std::vector<UChar> wide(const std::string& text) {
  return {text.begin(), text.end()};
}

class OpenPattern : public LoadedIcu {
 public:
  OpenPattern(const Functions& icu, UDateFormat* format)
      : format_(format, {icu.close}), icu_(icu) {}

  std::optional<std::string> format(Date date, const std::tm& local) override {
    UErrorCode status = U_ZERO_ERROR;
    std::array<UChar, 128> text;
    const auto milliseconds =
        std::chrono::floor<std::chrono::milliseconds>(date) + std::chrono::seconds(local.tm_gmtoff);
    const auto length =
        icu_.format(format_.get(), static_cast<UDate>(milliseconds.time_since_epoch().count()),
                    text.data(), static_cast<std::int32_t>(text.size()), nullptr, &status);
    if (U_FAILURE(status) || length > static_cast<std::int32_t>(text.size())) return std::nullopt;
    return utf8({text.data(), static_cast<std::size_t>(length)});
  }

 private:
  struct Close {
    decltype(&udat_close) close;
    void operator()(UDateFormat* format) const { close(format); }
  };

  static std::string utf8(std::u16string_view text) {
    std::string bytes;
    for (std::size_t at = 0; at < text.size();) {
      UChar32 code = 0;
      U16_NEXT(text.data(), at, text.size(), code);
      std::array<char, U8_MAX_LENGTH> piece;
      std::size_t length = 0;
      U8_APPEND_UNSAFE(piece.data(), length, U_IS_SURROGATE(code) ? 0xFFFD : code);
      bytes.append(piece.data(), length);
    }
    return bytes;
  }

  std::unique_ptr<UDateFormat, Close> format_;
  const Functions& icu_;
};

}  // namespace

std::unique_ptr<LoadedIcu> LoadedIcu::open(const std::string& pattern, const std::string& locale) {
  const Functions* const icu = functions();
  if (icu == nullptr) return nullptr;
  UErrorCode status = U_ZERO_ERROR;
  constexpr std::u16string_view kUtc = u"Etc/UTC";
  const std::vector<UChar> letters = wide(pattern);
  UDateFormat* const format = icu->open(UDAT_PATTERN, UDAT_PATTERN, locale.c_str(), kUtc.data(),
                                        static_cast<std::int32_t>(kUtc.size()), letters.data(),
                                        static_cast<std::int32_t>(letters.size()), &status);
  if (format == nullptr) return nullptr;
  auto opened = std::make_unique<OpenPattern>(*icu, format);
  return U_SUCCESS(status) ? std::move(opened) : nullptr;
}

}  // namespace zorva
