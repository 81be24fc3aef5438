// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "platform/base/Text.h"
#include "report/analyse/LogHistory.h"

namespace zorva {

/// Everything that is reported, one line each, with times in seconds since the first one of the
/// log.
class HistoryText : public LogHistorySink {
 public:
  explicit HistoryText(LogTime start) : start_(start) {}

  void span(const LogSpan& span) override {
    static constexpr const char* kNames[kLanes] = {
        "asleep",   "display",   "assertion",  "call",         "data",
        "wifi",     "bluetooth", "audio",      "application",  "thermal",
        "charging", "location",  "registered", "weak charger", "not charged"};
    std::string line = formatText("%s %s%lld-%s%lld", kNames[static_cast<std::size_t>(span.lane)],
                                  span.beginKnown ? "" : "?", at(span.begin),
                                  span.endKnown ? "" : "?", at(span.end));
    for (const std::string_view text : {span.who, span.what}) {
      if (!text.empty()) line += " " + std::string(text);
    }
    lines.push_back(line);
  }
  void sample(Curve curve, LogTime time, double value, LogPosition) override {
    static constexpr const char* kNames[] = {"level",  "current",  "temperature",
                                             "signal", "received", "sent"};
    samples.push_back(
        formatText("%s %lld %g", kNames[static_cast<std::size_t>(curve)], at(time), value));
  }
  void wake(const LogWake& wake) override {
    lines.push_back(formatText("wake %lld slept %lld ", at(wake.time),
                               wake.asleepSince ? wake.time - *wake.asleepSince : -1LL) +
                    std::string(wake.reason) + " [" + std::string(wake.decoded) + "] [" +
                    std::string(wake.owner) + formatText(" %lld]", (long long)wake.ownerPid));
  }
  void moment(const LogMoment& moment) override {
    lines.push_back(formatText("%s %lld ", moment.isError ? "error" : "moment", at(moment.time)) +
                    std::string(moment.category) + " " + std::string(moment.text));
  }
  void processes(LogTime from, LogTime to, std::span<const ProcessUse> uses, LogPosition) override {
    std::string line = formatText("cpu %lld-%lld", at(from), at(to));
    for (const ProcessUse& use : uses) {
      line += " " + std::string(use.name) +
              formatText("/%lld:%lld", (long long)use.pid, (long long)use.seconds);
    }
    samples.push_back(line);
  }
  void modem(LogTime from, LogTime to, std::span<const ModemUse> uses, LogPosition) override {
    std::string line = formatText("modem %lld-%lld", at(from), at(to));
    for (const ModemUse& use : uses) {
      line += " " + std::string(use.state) + formatText(":%lld", (long long)use.milliseconds);
    }
    samples.push_back(line);
  }
  void interruption(LogTime before, LogTime after, LogPosition) override {
    lines.push_back(formatText("interruption %lld %lld", at(before), at(after)));
  }

  std::vector<std::string> lines;
  std::vector<std::string> samples;

 private:
  long long at(LogTime time) const { return time - start_; }
  LogTime start_;
};

}  // namespace zorva
