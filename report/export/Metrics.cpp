// SPDX-License-Identifier: Apache-2.0
#include "report/export/Metrics.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <functional>
#include <map>
#include <utility>
#include <vector>

#include "platform/base/Text.h"

namespace zorva {
namespace {

struct State {
  Lane lane;
  std::string_view name;
};
// One at a time in each lane, so that their sum is the time in the lane.
constexpr State kStates[] = {
    {Lane::Asleep, "asleep"}, {Lane::Display, "display"},   {Lane::Call, "call"},
    {Lane::Data, "data"},     {Lane::WiFi, "wifi"},         {Lane::Bluetooth, "bluetooth"},
    {Lane::Audio, "audio"},   {Lane::Thermal, "throttled"}, {Lane::Charging, "charging"}};

class Families {
 public:
  // The values that follow are of this metric.
  void begin(std::string_view name, std::string_view help) {
    name_ = "zorva_" + std::string(name);
    text_.append("# HELP ").append(name_).append(" ").append(help).append("\n# TYPE ");
    text_.append(name_).append(" gauge\n");
  }
  void value(double number, std::string_view label = {}, std::string_view of = {}) {
    text_ += name_;
    if (!label.empty()) {
      text_.append("{").append(label).append("=\"");
      for (const char byte : safeText(of)) {
        if (byte == '"' || byte == '\\') text_ += '\\';
        text_ += byte;
      }
      text_ += "\"}";
    }
    char digits[32];
    const auto result =
        std::to_chars(digits, digits + sizeof digits, number, std::chars_format::general, 12);
    text_.append(" ").append(digits, result.ptr).append("\n");
  }
  void single(std::string_view name, std::string_view help, double number) {
    begin(name, help);
    value(number);
  }
  std::string take() { return std::move(text_.append("# EOF\n")); }

 private:
  std::string text_;
  std::string name_;
};

using Named = std::vector<std::pair<std::string, double>>;

// Those with the greatest values; nothing if there are none.
void list(Families& to, std::string_view name, std::string_view help, std::string_view label,
          Named values) {
  if (values.empty()) return;
  std::ranges::stable_sort(values, std::greater<>{}, &Named::value_type::second);
  values.resize(std::min(values.size(), kMaxMetricNames));
  to.begin(name, help);
  for (const auto& [of, value] : values) to.value(value, label, of);
}

// Names may become equal when they are made safe for a text.
Named summed(const auto& items, auto nameOf, auto valueOf) {
  std::map<std::string, double> sums;
  for (const auto& item : items) {
    const std::string& name = nameOf(item);
    sums[safeText(name.empty() ? "<unknown>" : name)] += static_cast<double>(valueOf(item));
  }
  return {sums.begin(), sums.end()};
}

void battery(Families& to, const LogSummary& summary, const Answer& answer) {
  if (summary.lastLevel && std::isfinite(*summary.lastLevel)) {
    to.single("battery_level_ratio", "The last charge of the battery, of a full one.",
              *summary.lastLevel / 100);
  }
  if (!summary.firstLevel) return;
  const std::pair<std::string_view, Account::Charge> uses[] = {{"asleep", answer.account.asleep()},
                                                               {"awake", answer.account.awake()},
                                                               {"mixed", answer.account.mixed()}};
  to.begin("battery_used_ratio",
           "The charge used without a charger, of a full battery, by what the device did between "
           "two readings.");
  for (const auto& [state, charge] : uses) to.value(charge.percent / 100, "state", state);
  to.begin("battery_used_duration_seconds", "The time in which that charge was used.");
  for (const auto& [state, charge] : uses) {
    to.value(static_cast<double>(charge.seconds), "state", state);
  }
  to.single("battery_charged_ratio", "The charge gained on a charger, of a full battery.",
            answer.gained / 100);
  to.single("battery_drained_ratio", "The charge used on battery, of a full battery.",
            answer.whole.percent / 100);
  if (answer.wattHoursPerPercent) {
    to.single("battery_full_joules", "The energy of the full battery.",
              *answer.wattHoursPerPercent * 100 * 3600);
  }
  Named causes;
  for (const AccountPart& part : answer.whole.parts) {
    if (part.cause != Cause::Process) {
      causes.emplace_back(causeWord(part.cause), part.percent / 100);
    }
  }
  list(to, "cause_used_ratio",
       "The charge used on battery, of a full battery, by cause; processes are apart.", "cause",
       std::move(causes));
  Named processes;
  for (const AccountPart& part : answer.whole.parts) {
    if (part.cause == Cause::Process) {
      processes.emplace_back(safeText(part.name), part.percent / 100);
    }
  }
  list(to, "process_used_ratio", "The charge used by processes on battery, of a full battery.",
       "process", std::move(processes));
}

}  // namespace

std::string metricsText(const LogSummary& summary, const Answer& answer) {
  constexpr auto name = [](const auto& item) -> const std::string& { return item.name; };
  constexpr auto amount = [](const auto& item) { return item.amount; };
  constexpr auto count = [](const auto& item) { return item.count; };
  constexpr auto seconds = [](const auto& item) { return item.seconds; };
  Families to;
  to.single("log_entries", "The entries that were read.", static_cast<double>(summary.entries));
  to.single("log_covered_seconds", "The time that the log covers, without its interruptions.",
            static_cast<double>(summary.covered));
  to.single("log_interruptions", "The interruptions of the log.",
            static_cast<double>(summary.interruptionCount));
  to.single("errors", "The errors in the log.", static_cast<double>(summary.errorCount));
  battery(to, summary, answer);
  to.single("sleeps", "How often the device slept.", static_cast<double>(summary.sleeps));
  to.single("wakes", "How often the device woke.", static_cast<double>(summary.wakes));
  list(to, "reason_wakes", "How often the device woke, by reason, most often first.", "reason",
       summed(summary.wakeReasons, name, count));
  list(to, "owner_wakes", "How often the device woke for a process or a packet.", "owner",
       summed(summary.wakeOwners, name, count));
  to.begin("state_seconds", "How long the device was in a state.");
  for (const State& state : kStates) {
    to.value(static_cast<double>(summary.seconds(state.lane)), "state", state.name);
  }
  list(to, "assertion_held_seconds",
       "How long a process held assertions that keep the device awake, those at once added up.",
       "process", summed(summary.lane(Lane::Assertion), name, seconds));
  if (summary.processSeconds > 0) {
    const Named uses = summed(summary.processes, name, amount);
    double all = 0;
    for (const auto& [process, used] : uses) all += used;
    to.single("cpu_seconds", "The CPU time of all processes, as far as they were listed twice.",
              all);
    to.single("cpu_covered_seconds", "The time in which it was used.",
              static_cast<double>(summary.processSeconds));
    list(to, "process_cpu_seconds", "The CPU time of the busiest processes, by name.", "process",
         uses);
  }
  if (summary.traffic) {
    to.single("network_received_bytes", "The bytes received on all interfaces.", summary.received);
    to.single("network_sent_bytes", "The bytes sent on all interfaces.", summary.sent);
  }
  list(to, "modem_seconds", "How long the modem was in a state of power.", "state",
       summed(summary.modem, name,
              [](const auto& item) { return static_cast<double>(item.amount) / 1000; }));
  return to.take();
}

}  // namespace zorva
