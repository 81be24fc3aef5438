// SPDX-License-Identifier: Apache-2.0
#include "report/export/AnswerJson.h"

#include <cmath>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/base/Text.h"
#include "report/export/JsonText.h"
#include "report/export/LogJson.h"

namespace zorva {
namespace {

// Writes objects and lists, with the commas between what is in them.
class Json {
 public:
  explicit Json(std::string& to) : to_(to) {}

  void open(char bracket) {
    comma();
    to_ += bracket;
    first_ = true;
  }
  void close(char bracket) {
    to_ += bracket;
    first_ = false;
  }
  void key(std::string_view name) {
    comma();
    to_.append(1, '"').append(name).append("\":");
    first_ = true;
  }
  void text(std::string_view value) {
    comma();
    appendJsonText(value, to_);
  }
  void number(std::optional<double> value) {
    comma();
    if (value && std::isfinite(*value)) {
      const bool whole = *value == std::trunc(*value) && std::abs(*value) < 1e15;
      to_ += formatText(whole ? "%.0f" : "%.6g", *value);
    } else {
      to_ += "null";
    }
  }
  void truth(bool value) {
    comma();
    to_ += value ? "true" : "false";
  }
  void time(LogTime value) { text(isoTime(value)); }

 private:
  void comma() {
    if (!first_) to_ += ',';
    first_ = false;
  }

  std::string& to_;
  bool first_ = true;
};

void texts(Json& json, std::string_view key, const std::vector<std::string>& all) {
  json.key(key);
  json.open('[');
  for (const std::string& each : all) json.text(each);
  json.close(']');
}

class Writer {
 public:
  Writer(const LogSummary& summary, const Answer& answer, std::string& to)
      : summary_(summary), answer_(answer), json_(to) {}

  void write() {
    json_.open('{');
    json_.key("report");
    json_.open('{');
    number("entries", static_cast<double>(summary_.entries));
    if (summary_.covered > 0 || summary_.entries > 0) {
      time("first", summary_.first);
      time("last", summary_.last);
    }
    number("covered_seconds", static_cast<double>(summary_.covered));
    number("first_level", summary_.firstLevel);
    number("last_level", summary_.lastLevel);
    texts(json_, "verdict", answer_.verdict);
    number("usual_percent", answer_.usual);
    number("usual_days", static_cast<double>(answer_.usualDays));
    findings();
    account();
    charges();
    sleeps();
    stretches();
    json_.close('}');
    json_.close('}');
  }

 private:
  void number(std::string_view key, std::optional<double> value) {
    json_.key(key);
    json_.number(value);
  }
  void text(std::string_view key, std::string_view value) {
    json_.key(key);
    json_.text(value);
  }
  void time(std::string_view key, LogTime value) {
    json_.key(key);
    json_.time(value);
  }
  std::optional<double> wattHours(double percent) const {
    if (!answer_.wattHoursPerPercent) return std::nullopt;
    return percent * *answer_.wattHoursPerPercent;
  }
  // Percent, and what follows from it.
  void energy(double percent, LogTime seconds) {
    number("percent", percent);
    const auto wh = wattHours(percent);
    number("wh", wh);
    number("watts", wh && seconds > 0 ? std::optional(*wh * 3600 / static_cast<double>(seconds))
                                      : std::nullopt);
  }

  void findings() {
    json_.key("findings");
    json_.open('[');
    for (const Finding& finding : answer_.findings) {
      json_.open('{');
      text("kind", kindWord(finding.kind));
      number("percent", finding.percent);
      number("beyond_usual", finding.weight);
      text("text", finding.sentence);
      text("advice", finding.advice);
      texts(json_, "figures", finding.figures);
      time("from", finding.from);
      time("to", finding.to);
      json_.close('}');
    }
    json_.close(']');
  }

  void parts(const std::vector<AccountPart>& all) {
    json_.key("parts");
    json_.open('[');
    for (const AccountPart& part : all) {
      json_.open('{');
      text("what", causeWord(part.cause));
      text("name", part.name);
      number("percent", part.percent);
      number("wh", wattHours(part.percent));
      number("error_percent", part.error);
      text("basis", part.measured ? "measured" : "estimated");
      json_.key("uncertain");
      json_.truth(part.uncertain);
      json_.close('}');
    }
    json_.close(']');
  }

  void account() {
    json_.key("account");
    json_.open('{');
    number("seconds", static_cast<double>(answer_.whole.seconds));
    energy(answer_.whole.percent, answer_.whole.seconds);
    parts(answer_.whole.parts);
    json_.close('}');
  }

  void charges() {
    const auto add = [&](std::string_view key, const Account::Charge& charge) {
      json_.key(key);
      json_.open('{');
      number("seconds", static_cast<double>(charge.seconds));
      energy(charge.percent, charge.seconds);
      number("error_percent", charge.error);
      json_.close('}');
    };
    add("asleep", answer_.account.asleep());
    add("awake", answer_.account.awake());
    add("not_told_apart", answer_.account.mixed());
  }

  void sleeps() {
    json_.key("longest_sleeps");
    json_.open('[');
    for (const LogSummary::Sleep& sleep : summary_.longestSleeps) {
      const Account::Charge used = answer_.account.asleep(sleep.begin, sleep.end);
      json_.open('{');
      time("from", sleep.begin);
      number("seconds", static_cast<double>(sleep.end - sleep.begin));
      if (used.seconds * 10 >= (sleep.end - sleep.begin) * 9) energy(used.percent, used.seconds);
      number("hardware_seconds",
             sleep.hardware ? std::optional(static_cast<double>(*sleep.hardware)) : std::nullopt);
      text("ended_by", sleep.reason);
      text("for", sleep.owner);
      json_.close('}');
    }
    json_.close(']');
  }

  void stretches() {
    json_.key("stretches");
    json_.open('[');
    for (const Stretch& stretch : answer_.stretches) {
      json_.open('{');
      time("from", stretch.begin);
      time("to", stretch.end);
      energy(stretch.used, stretch.end - stretch.begin);
      number("times_usual", stretch.times);
      parts(stretch.parts);
      json_.close('}');
    }
    json_.close(']');
  }

  const LogSummary& summary_;
  const Answer& answer_;
  Json json_;
};

}  // namespace

void appendReportJson(const LogSummary& summary, const Answer& answer, std::string& to) {
  Writer(summary, answer, to).write();
  to += '\n';
}

}  // namespace zorva
