#include "platform/support/PropertyList.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace zorva {
namespace {

TEST(PropertyList, KeepsEveryKindOfValue) {
  const Date date = Date(std::chrono::seconds(-86399));
  const Dictionary kinds{{"true", true},
                         {"false", false},
                         {"least", std::numeric_limits<std::int64_t>::min()},
                         {"real", 0.1},
                         {"endless", -std::numeric_limits<double>::infinity()},
                         {"text", "a <b> & \"c\"\n  \u00e9"},
                         {"blank", " "},
                         {"empty", ""},
                         {"date", date},
                         {"data0", Value::Data{}},
                         {"data1", Value::Data{0xFB}},
                         {"data2", Value::Data{0xFF, 0xFE}},
                         {"data3", Value::Data{1, 2, 3}},
                         {"list", Value::List{1, "x", Value::List{}}},
                         {"dict", Dictionary{{"k&", 1}, {"inner", Dictionary{}}}}};
  PropertyList written;
  for (const auto& [key, value] : kinds) written.set(key, value);
  const auto read = PropertyList::parse(written.text());
  ASSERT_TRUE(read);
  for (const auto& [key, value] : kinds) EXPECT_EQ(read->value(key), value) << key;
  written.set("real", std::nan(""));
  EXPECT_TRUE(std::isnan(PropertyList::parse(written.text())->value("real").real()));
}

TEST(PropertyList, RefusesWhatIsNone) {
  std::string deep = "<plist><dict><key>k</key>";
  for (int i = 0; i < 50000; ++i) deep += "<array>";
  for (int i = 0; i < 50000; ++i) deep += "</array>";
  deep += "</dict></plist>";
  for (const std::string& text :
       {std::string(), std::string("bplist00\xd0\x08"), std::string("<plist><dict>"),
        std::string("<html><dict/></html>"), std::string("<plist><array/></plist>"),
        std::string("<plist><dict><key>k</key></dict></plist>"),
        std::string("<plist><dict><string>k</string><true/></dict></plist>"), deep}) {
    EXPECT_FALSE(PropertyList::parse(text)) << text.substr(0, 60);
  }
}

// Bytes changed, dropped and doubled anywhere: whatever still is a property list reads the same
// when it has been written once more.
TEST(PropertyList, SurvivesForeignBytes) {
  const std::string whole =
      "<?xml version='1.0'?><!DOCTYPE plist><plist><dict><key>a</key><string>x&amp;<![CDATA[y]]>"
      "</string><key>b</key><real>1e3</real><key>c</key><dict><key>d</key><array><integer>0x1"
      "</integer><data>AQI=</data></array></dict><key>e</key><date>2026-11-16T14:07:16Z</date>"
      "</dict></plist>";
  std::mt19937 random(20261116);
  int read = 0;
  for (int round = 0; round < 5000; ++round) {
    std::string text = whole;
    for (auto changes = 1 + random() % 3; changes > 0; --changes) {
      const std::size_t at = random() % text.size();
      const auto kind = random() % 3;
      if (kind == 0) text[at] = static_cast<char>(random());
      if (kind == 1) text.erase(at, random() % 8);
      if (kind == 2) text.insert(at, text.substr(random() % text.size(), random() % 16));
    }
    const auto list = PropertyList::parse(text);
    if (!list) continue;
    ++read;
    const auto again = PropertyList::parse(list->text());
    ASSERT_TRUE(again) << text;
    for (const char* key : {"b", "c", "e"}) {
      const Value value = list->value(key);
      // Not-a-number equals nothing; its description does.
      EXPECT_EQ(value.description(), again->value(key).description()) << text;
    }
  }
  EXPECT_GT(read, 500);
}

}  // namespace
}  // namespace zorva
