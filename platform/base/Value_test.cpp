// SPDX-License-Identifier: Apache-2.0
#include "platform/base/Value.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "platform/base/Text.h"

namespace zorva {
namespace {

TEST(Value, ConversionsNeverFail) {
  constexpr auto kMaximum = std::numeric_limits<std::int64_t>::max();
  constexpr auto kMinimum = std::numeric_limits<std::int64_t>::min();
  const struct {
    Value value;
    bool boolean;
    std::int64_t integer;
    double real;
  } cases[] = {
      {{}, false, 0, 0.0},
      {true, true, 1, 1.0},
      {-3, true, -3, -3.0},
      {0.5, true, 0, 0.5},
      {1e300, true, kMaximum, 1e300},
      {-1e300, true, kMinimum, -1e300},
      {std::nan(""), true, 0, std::nan("")},
      {"60.0", true, 60, 60.0},
      {" +7 apples", true, 7, 7.0},
      {"99999999999999999999", true, kMaximum, 1e20},
      {"-99999999999999999999", true, kMinimum, -1e20},
      {"Yes", true, 0, 0.0},
      {"", false, 0, 0.0},
      {"-", false, 0, 0.0},
      {"-.5", true, 0, -0.5},
      {"nancy", false, 0, 0.0},
      {"info", false, 0, 0.0},
      {"1e400", true, 1, HUGE_VAL},
      {Value::List{1}, false, 0, 0.0},
      {Dictionary{{"a", 1}}, false, 0, 0.0},
  };
  for (const auto& [value, boolean, integer, real] : cases) {
    EXPECT_EQ(value.boolean(), boolean) << value.description();
    EXPECT_EQ(value.integer(), integer) << value.description();
    if (std::isnan(real)) {
      EXPECT_TRUE(std::isnan(value.real()));
    } else {
      EXPECT_EQ(value.real(), real) << value.description();
    }
  }
  EXPECT_EQ(Value(std::int64_t{0x1FFFFFFFF}).integer32(), -1);
  EXPECT_EQ(Value(3).text(), std::nullopt);
}

TEST(Value, DescribesItselfForPeople) {
  using namespace std::chrono;
  const Date date = sys_days(year(2026) / 11 / 16) + 14h + 7min + 16s + 999ms;
  const Value all(Value::List{Value(), true, 12, 1800.0, 0.1, "text", date, Value::Data{0x0A, 0x1B},
                              Dictionary{{"b", 2}, {"a", "x"}}});
  EXPECT_EQ(all.description(),
            "((null), 1, 12, 1800, 0.1, text, 2026-11-16 14:07:16 +0000, <0a1b>, {b = 2; a = x;})");
}

TEST(SafeText, LeavesOneLineOfWellFormedText) {
  const struct {
    std::string bytes;
    const char* text;
  } cases[] = {
      {"Caf\u00e9 \U0001F600 %s;", "Caf\u00e9 \U0001F600 %s;"},
      {"a\nb\r\tc\x7f\x1b[0m", "a\\x0ab\\x0d\\x09c\\x7f\\x1b[0m"},
      {std::string("a\0b", 3), "a\\x00b"},
      {"\u0085\u2028", "\\xc2\\x85\\xe2\\x80\\xa8"},
      {"a\u202Eb\u2010", "a\\xe2\\x80\\xaeb\u2010"},
      {"\xff\xc3", "\uFFFD\uFFFD"},
      {"\xc0\x80", "\uFFFD\uFFFD"},                      // overlong
      {"\xed\xa0\x80", "\uFFFD\uFFFD\uFFFD"},            // surrogate
      {"\xf4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},  // above U+10FFFF
      {"\xe2\x82", "\uFFFD\uFFFD"},                      // cut off
  };
  for (const auto& [bytes, text] : cases) EXPECT_EQ(safeText(bytes), text);
}

}  // namespace
}  // namespace zorva
