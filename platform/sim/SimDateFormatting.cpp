#include "platform/sim/SimDateFormatting.h"

#include <unicode/smpdtfmt.h>

namespace zorva {
namespace {

class Formatter : public DateFormatter {
 public:
  Formatter(const SimLocaleInformation& locale, const std::string& pattern)
      : locale_(locale), pattern_(icu::UnicodeString::fromUTF8(pattern)) {}

  std::string format(Date date) override {
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat format(pattern_, icu::Locale(locale_.localeIdentifier().c_str()), status);
    if (U_FAILURE(status)) return {};
    format.adoptTimeZone(
        icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(locale_.timeZone())));
    icu::UnicodeString text;
    format.format(static_cast<double>(date.time_since_epoch().count()) / 1000.0, text);
    std::string utf8;
    return text.toUTF8String(utf8);
  }

 private:
  const SimLocaleInformation& locale_;
  icu::UnicodeString pattern_;
};

}  // namespace

std::unique_ptr<DateFormatter> SimDateFormatting::makeFormatter(const std::string& pattern) {
  return std::make_unique<Formatter>(locale_, pattern);
}

}  // namespace zorva
