#include "platform/locale/sim/IcuDateFormatting.h"

#include <string_view>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/uloc.h>

#include "platform/base/Value.h"

namespace zorva {
namespace {

// Not in ICU's canonical form, whose rules take a fifth of a whole snapshot to load.
icu::Locale namedLocale(const std::string& identifier) {
  return icu::Locale::createFromName(identifier.substr(0, identifier.find('.')).c_str());
}

// ICU would look for an unknown language's data in the locale of the environment.
icu::Locale localeOf(const std::string& identifier) {
  icu::Locale locale = namedLocale(identifier);
  // By their names: making ICU's list of locales would cost a tenth of a whole snapshot.
  const std::string_view language = locale.getLanguage();
  bool available = false;
  for (std::int32_t i = 0; i < uloc_countAvailable() && !available; ++i) {
    const std::string_view known = uloc_getAvailable(i);
    available = known.substr(0, known.find('_')) == language;
  }
  return available && !locale.isBogus() ? locale : icu::Locale::getRoot();
}

std::unique_ptr<icu::TimeZone> zoneOf(const std::string& id) {
  std::unique_ptr<icu::TimeZone> zone(
      icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(id)));
  if (*zone == icu::TimeZone::getUnknown()) zone.reset(icu::TimeZone::createTimeZone("Etc/UTC"));
  return zone;
}

// ICU counts in milliseconds. Rounded down, so that a fraction before 1970 stays in its second.
UDate icuDate(Date date) {
  return static_cast<UDate>(
      std::chrono::floor<std::chrono::milliseconds>(date).time_since_epoch().count());
}

std::unique_ptr<icu::SimpleDateFormat> makeFormat(const std::string& pattern,
                                                  const LocaleSettings& settings) {
  UErrorCode status = U_ZERO_ERROR;
  auto format = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString::fromUTF8(pattern),
                                                        localeOf(settings.locale), status);
  if (U_FAILURE(status)) return nullptr;
  format->adoptTimeZone(zoneOf(settings.zone).release());
  return format;
}

std::string formatWith(const icu::SimpleDateFormat* format, Date date) {
  if (format == nullptr) return Value(date).description();
  icu::UnicodeString formatted;
  format->format(icuDate(date), formatted);
  std::string text;
  formatted.toUTF8String(text);
  return text;
}

class IcuDateFormatter : public DateFormatter {
 public:
  IcuDateFormatter(std::string pattern, LocaleSettingsSource source)
      : pattern_(std::move(pattern)),
        source_(std::move(source)),
        hasFractions_(pattern_.find_first_of("SA") != std::string::npos) {}

  std::string format(Date date) override {
    LocaleSettings settings = source_();
    const bool rebuild = !settings_ || *settings_ != settings;
    if (rebuild) {
      format_ = makeFormat(pattern_, settings);
      settings_ = std::move(settings);
    }
    const std::int64_t second = secondsSinceEpoch(date);
    if (rebuild || hasFractions_ || lastSecond_ != second) {
      lastText_ = formatWith(format_.get(), date);
      lastSecond_ = second;
    }
    return lastText_;
  }

 private:
  std::string pattern_;
  LocaleSettingsSource source_;
  bool hasFractions_;  // the pattern shows parts of a second, so that a second has many texts
  std::optional<LocaleSettings> settings_;  // those the format was made for
  std::unique_ptr<icu::SimpleDateFormat> format_;
  std::int64_t lastSecond_ = 0;
  std::string lastText_;
};

}  // namespace

std::unique_ptr<DateFormatter> IcuDateFormatting::makeFormatter(const std::string& pattern) {
  return std::make_unique<IcuDateFormatter>(pattern, settings_);
}

std::string zoneAbbreviation(const LocaleSettings& settings, Date date) {
  return formatWith(makeFormat("z", settings).get(), date);
}

bool daylightSavingTime(const LocaleSettings& settings, Date date) {
  UErrorCode status = U_ZERO_ERROR;
  std::int32_t standard = 0;
  std::int32_t daylight = 0;
  zoneOf(settings.zone)->getOffset(icuDate(date), false, standard, daylight, status);
  return U_SUCCESS(status) && daylight != 0;
}

}  // namespace zorva
