// SPDX-License-Identifier: Apache-2.0
#include "platform/base/Text.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace zorva
