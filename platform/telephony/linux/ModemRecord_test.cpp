// SPDX-License-Identifier: Apache-2.0
#include "platform/telephony/linux/ModemRecord.h"

#include <gtest/gtest.h>

#include "platform/telephony/TelephonyServer.h"

namespace zorva {
namespace {

TEST(ModemRecordTest, TellsTheNewestTechnology) {
  const struct {
    std::uint32_t set;
    const char *technology, *indicator;
  } kCases[] = {
      {0, rat::kUnknown, "None"},
      {0xFFFFFFFF, rat::kUnknown, "None"},
      {1 << 0, "POTS", "None"},
      {1 << 1, rat::kGSM, "None"},
      {1 << 2, rat::kGSMCompact, "None"},
      {1 << 1 | 1 << 3, rat::kGSM, "GPRS"},
      {1 << 3 | 1 << 4, rat::kGSM, "EDGE"},
      {1 << 5, rat::kUTRAN, "3G"},
      {1 << 5 | 1 << 6, rat::kUTRAN, "HSPA"},
      {1 << 8, rat::kUTRAN, "HSPA"},
      {1 << 9 | 1 << 8, rat::kUTRAN, "HSPA+"},
      {1 << 10, "1xRTT", "1xRTT"},
      {1 << 13, "EVDO", "EVDO"},
      {1 << 14 | 1 << 5, "LTE", "LTE"},
      {1 << 14 | 1 << 15, "5G", "5G"},
      {1u << 20, rat::kUnknown, "None"},
  };
  for (const auto& row : kCases) {
    EXPECT_EQ(technologyText(row.set), row.technology) << row.set;
    EXPECT_EQ(dataIndicatorWord(row.set), row.indicator) << row.set;
  }
}

TEST(ModemRecordTest, TellsStatesByTheirWords) {
  std::string words;
  for (std::uint32_t state = 0; state <= 12; ++state) {
    const auto home = registeredAtHome(state);
    words += registrationWord(state) + (home ? *home ? "+ " : "- " : " ");
  }
  EXPECT_EQ(words,
            "NotRegistered RegisteredHome+ Searching Denied Unknown RegisteredRoaming- "
            "RegisteredHome+ RegisteredRoaming- EmergencyOnly RegisteredHome+ RegisteredRoaming- "
            "RestrictedLocal Unknown ");
  words.clear();
  for (std::uint32_t lock = 0; lock <= 6; ++lock) words += simWord(lock, true, 0) + " ";
  for (std::uint32_t reason = 0; reason <= 5; ++reason) words += simWord(1, true, reason) + " ";
  EXPECT_EQ(words + simWord(1, false, 0),
            "Unknown Ready PIN Ready PUK Ready Locked "
            "Ready Ready NotInserted Error Ready NoProfile NotInserted");
  words.clear();
  for (std::int32_t state = -1; state <= 8; ++state) {
    words += std::to_string(static_cast<int>(callStatus(state)));
  }
  EXPECT_EQ(words, "0033412450");
}

TEST(ModemRecordTest, ReadsTheCell) {
  const auto read = [](const char* text) {
    std::optional<std::int64_t> cell, area;
    readCell(text, cell, area);
    return std::to_string(cell.value_or(-1)) + " " + std::to_string(area.value_or(-1));
  };
  EXPECT_EQ(read("310,260,84CD,D30156,0"), "13828438 33997");
  EXPECT_EQ(read("310,260,84CD,D30156"), "13828438 33997");
  EXPECT_EQ(read("262,02,FFFE,FFFFFFFFF,6FFE"), "68719476735 28670");
  EXPECT_EQ(read("262,02,0,1A,6FFE"), "26 28670");
  EXPECT_EQ(read("262,02,,1A,0"), "26 -1");
  EXPECT_EQ(read("262,02,-1,0x1A,FFFFFFFFFFFFFFFFFFFF,9,9"), "-1 -1");
  EXPECT_EQ(read(""), "-1 -1");
}

}  // namespace
}  // namespace zorva
