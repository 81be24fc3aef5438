// SPDX-License-Identifier: Apache-2.0
#include "platform/locale/LocaleParts.h"

#include <gtest/gtest.h>
#include <utility>

namespace zorva {
namespace {

TEST(CountryCode, IsTheOneInTheLocale) {
  for (const auto& [locale, country] : {std::pair("en_US_POSIX", "US"),
                                        {"zh_Hant_TW.UTF-8", "TW"},
                                        {"pt-BR", "BR"},
                                        {"sr_Latn", "none"},
                                        {"", "none"}}) {
    EXPECT_EQ(countryCode(locale).value_or("none"), country) << locale;
  }
}

}  // namespace
}  // namespace zorva
