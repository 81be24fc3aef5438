// SPDX-License-Identifier: Apache-2.0
#include "platform/locale/LocalDateFormatting.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/base/Text.h"
#include "platform/locale/LoadedIcu.h"
#include "platform/locale/LocaleRules.h"

namespace zorva {
namespace {

// A field of a pattern, "YYYY", or a separator.
struct Piece {
  char letter;
  int width;
};

std::vector<Piece> piecesOf(std::string_view pattern) {
  std::vector<Piece> pieces;
  for (const char letter : pattern) {
    if (std::isalpha(static_cast<unsigned char>(letter)) != 0 && !pieces.empty() &&
        pieces.back().letter == letter) {
      ++pieces.back().width;
    } else {
      pieces.push_back({letter, 1});
    }
  }
  return pieces;
}

// Whether the pattern contains only numeric fields that are formatted here.
bool isPlain(const std::vector<Piece>& pieces) {
  constexpr std::string_view kNumbers = "yYdHms";
  return std::all_of(pieces.begin(), pieces.end(), [&](const Piece& piece) {
    if (piece.letter == 'M') return piece.width <= 2;  // more are names
    return kNumbers.find(piece.letter) != kNumbers.npos ||
           (std::isalpha(static_cast<unsigned char>(piece.letter)) == 0 && piece.letter != '\'');
  });
}

std::string plainText(const std::vector<Piece>& pieces, const WeekRule& rule,
                      const std::tm& local) {
  std::string text;
  const auto number = [&](int value, int width) { text += formatText("%0*d", width, value); };
  const auto year = [&](int value, int width) { number(width == 2 ? value % 100 : value, width); };
  for (const auto [letter, width] : pieces) {
    switch (letter) {
      case 'y':
        year(local.tm_year + 1900, width);
        break;
      case 'Y':
        year(rule.weekYear(local), width);
        break;
      case 'M':
        number(local.tm_mon + 1, width);
        break;
      case 'd':
        number(local.tm_mday, width);
        break;
      case 'H':
        number(local.tm_hour, width);
        break;
      case 'm':
        number(local.tm_min, width);
        break;
      case 's':
        number(local.tm_sec, width);
        break;
      default:
        text += letter;
    }
  }
  return text;
}

class LocalDateFormatter : public DateFormatter {
 public:
  LocalDateFormatter(std::string pattern, LocalDateFormatting::Settings source,
                     LocalDateFormatting::LocalTime localTime)
      : pattern_(std::move(pattern)),
        source_(std::move(source)),
        localTime_(std::move(localTime)),
        pieces_(piecesOf(pattern_)),
        plain_(isPlain(pieces_)) {}

  std::string format(Date date) override {
    const DateSettings& settings = source_();
    const bool changed = !settings_ || *settings_ != settings;
    if (changed) {
      const auto rule = weekRuleOfPlainLocale(settings.locale);
      rule_ = rule.value_or(kWorldWeekRule);
      icu_ = rule && plain_ ? nullptr : LoadedIcu::open(pattern_, settings.locale);
      settings_ = settings;
    }
    if (icu_) {
      if (auto text = icu_->format(date, localTime_(date))) return *text;
    }
    const std::int64_t second = secondsSinceEpoch(date);
    if (changed || second != lastSecond_) {
      lastText_ = plainText(pieces_, rule_, localTime_(date));
      lastSecond_ = second;
    }
    return lastText_;
  }

 private:
  std::string pattern_;
  LocalDateFormatting::Settings source_;
  LocalDateFormatting::LocalTime localTime_;
  std::vector<Piece> pieces_;
  bool plain_;
  std::optional<DateSettings> settings_;  // those that the next two are for
  WeekRule rule_ = kWorldWeekRule;
  std::unique_ptr<LoadedIcu> icu_;  // where the pattern and the locale need it
  std::int64_t lastSecond_ = 0;
  std::string lastText_;
};

}  // namespace

std::unique_ptr<DateFormatter> LocalDateFormatting::makeFormatter(const std::string& pattern) {
  return std::make_unique<LocalDateFormatter>(pattern, settings_, localTime_);
}

}  // namespace zorva
