// SPDX-License-Identifier: Apache-2.0
#include "platform/base/Text.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace zorva {
namespace {

// formatText's own conversions give the same text as printf.
TEST(FormatText, AgreesWithPrintf) {
  const std::string longText(600, 'x');
  char expected[2048];
#define EXPECT_SAME(...)                                 \
  std::snprintf(expected, sizeof expected, __VA_ARGS__); \
  EXPECT_EQ(formatText(__VA_ARGS__), expected)
  EXPECT_SAME(" pid=%d; port=%u; name=%s;", INT_MIN, UINT_MAX, "");
  EXPECT_SAME("%s%d%u", "\xC3\xA4", 0, 0U);
  EXPECT_SAME("%d%% of %5.2f at %02x", -1, 2.125, 10U);
  EXPECT_SAME("%.2f %.2f %.0f %.9f %.1f", 2.675, 87.61, 0.5, -0.0, 1e300);
  EXPECT_SAME("%.2f %.1f %.3f", NAN, -NAN, -INFINITY);
  EXPECT_SAME("%ld %s", LONG_MAX, "after what it does not write");
  EXPECT_SAME("%d %s", 7, longText.c_str());
  EXPECT_EQ(formatText("%s", std::string(512, 'y').c_str()), std::string(512, 'y'));
#undef EXPECT_SAME
}

TEST(CutToBytes, KeepsWholeCharactersAndEveryByteThatIsNoneOfThem) {
  const std::string text = "a\u00E4\u20AC\U0001F50B";  // 1, 2, 3 and 4 bytes
  for (const auto& [max, kept] : {std::pair(0, 0),
                                  {1, 1},
                                  {2, 1},
                                  {3, 3},
                                  {5, 3},
                                  {6, 6},
                                  {7, 6},
                                  {9, 6},
                                  {10, 10},
                                  {99, 10}}) {
    EXPECT_EQ(cutToBytes(text, max), text.substr(0, kept)) << max;
  }
  EXPECT_EQ(cutToBytes("\x80\x80\x80\x80\xE2\x82", 5), "\x80\x80\x80\x80\xE2");
}

TEST(Trimmed, RemovesUnicodeWhiteSpace) {
  const std::string everySpace =
      "\t\n\v\f\r \u0085\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009"
      "\u200A\u2028\u2029\u202F\u205F\u3000";
  EXPECT_EQ(trimmed(everySpace), "");
  // White space inside the text is kept, and so are parts of its bytes that are not characters.
  for (const char* const text :
       {"rtc", "a\u3000b", "\u200B", "\xC2", "\xA0", "\xE2\x80", "\uFEFF"}) {
    EXPECT_EQ(trimmed(everySpace + text + everySpace), text);
    EXPECT_EQ(trimmed(text), text);
  }
}

TEST(RealAtStart, ReadsWhatFromCharsWould) {
  struct Case {
    const char* text;
    std::size_t bytes;
    double number;
  };
  for (const auto& [text, bytes, number] : std::initializer_list<Case>{{"12.50%", 5, 12.5},
                                                                       {"-.5e1", 5, -5},
                                                                       {"5.e+2x", 5, 500},
                                                                       {"1e", 1, 1},
                                                                       {"2e-x", 1, 2},
                                                                       {"0x10", 1, 0},
                                                                       {"-INF", 4, -INFINITY},
                                                                       {"infinity1", 8, INFINITY},
                                                                       {"1e999", 5, INFINITY},
                                                                       {"-1e-999", 7, 0},
                                                                       {"4e-320", 6, 4e-320},
                                                                       {"0.1", 3, 0.1}}) {
    const auto real = realAtStart(text);
    ASSERT_TRUE(real) << text;
    EXPECT_EQ(real->bytes, bytes) << text;
    EXPECT_EQ(real->number, number) << text;
    const std::string_view all = text;
    EXPECT_EQ(parseReal(text).has_value(), bytes == all.size() && !all.ends_with("999")) << text;
  }
  for (const char* const none : {"", "-", ".", "+1", " 1", "e5", "-.e1", "in"}) {
    EXPECT_FALSE(realAtStart(none)) << none;
  }
  EXPECT_TRUE(std::isnan(parseReal("nan").value_or(0)));
}

}  // namespace
}  // namespace zorva
