// SPDX-License-Identifier: Apache-2.0
#include "platform/storage/PropertyList.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

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

}  // namespace
}  // namespace zorva
