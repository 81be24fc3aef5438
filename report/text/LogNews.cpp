// SPDX-License-Identifier: Apache-2.0
#include "report/text/LogNews.h"

#include <cmath>

#include "platform/base/Text.h"
#include "report/text/TextPage.h"

namespace zorva {

void LogNews::say(LogTime time, const std::string& text) {
  print_(shortTime(time) + "  " + safeText(text));
}

void LogNews::span(const LogSpan& span) {
  const std::string time = (span.beginKnown ? "" : "at least ") + duration(span.end - span.begin);
  const std::string who(span.who);
  const std::string what(span.what);
  switch (span.lane) {
    case Lane::Asleep:
      // If the end is known, the wake reports it.
      if (!span.endKnown) say(span.end, "Slept " + time + "; what ended it is not in the log.");
      break;
    case Lane::Assertion:
      if (span.end - span.begin >= kMinAssertionDuration) {
        say(span.end, who + " kept the device awake for " + time + ": " + what + ".");
      }
      break;
    case Lane::Display:
      if (span.endKnown) say(span.end, "The display was at " + what + " for " + time + ".");
      break;
    case Lane::Charging:
      say(span.end, "On the charger for " + time + ": " + what + ".");
      break;
    case Lane::Thermal:
      say(span.end, "Thermal level " + what + " for " + time + ".");
      break;
    case Lane::Call:
      say(span.end, "Call: " + what + " for " + time + ".");
      break;
    case Lane::Application:
      say(span.end, who + " was in mode " + what + " for " + time + ".");
      break;
    default:
      break;
  }
}

void LogNews::sample(Curve curve, LogTime time, double value, LogPosition) {
  if (curve != Curve::Level || (level_ && std::floor(*level_) == std::floor(value))) return;
  std::string text = "The battery is at " + figure(value) + " %";
  if (level_) {
    text += formatText(", %+.1f %% in ", value - *level_) + duration(time - levelTime_);
  }
  say(time, text + ".");
  level_ = value;
  levelTime_ = time;
}

void LogNews::fallsAsleep(LogTime time) {
  say(time, "Goes to sleep.");
}

void LogNews::wake(const LogWake& wake) {
  std::string text = "Woke up";
  if (wake.asleepSince) text += " after " + duration(wake.time - *wake.asleepSince);
  text += ": " + std::string(wake.reason);
  if (!wake.decoded.empty()) text += ", " + std::string(wake.decoded);
  if (!wake.owner.empty()) text += ", for " + std::string(wake.owner);
  say(wake.time, text + ".");
}

void LogNews::moment(const LogMoment& moment) {
  say(moment.time, (moment.isError ? "Error: " : std::string(moment.category) + ": ") +
                       std::string(moment.text));
}

void LogNews::interruption(LogTime before, LogTime after, LogPosition) {
  levelTime_ = after;
  say(after, after < before ? "The time went back by " + duration(before - after) + "."
                            : "Nothing was logged for " + duration(after - before) + ".");
}

}  // namespace zorva
