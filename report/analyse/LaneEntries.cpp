// SPDX-License-Identifier: Apache-2.0
#include "report/analyse/LaneEntries.h"

#include <cmath>
#include <optional>
#include <utility>

#include "platform/base/Text.h"

namespace zorva {
namespace {

// Milliamperes below which a battery is being drained. Full batteries on a charger show some.
constexpr double kDraining = -20;

// Percent. Some batteries report a little more than all; what is beyond is no reading.
constexpr double kHighestLevel = 120;

bool isReported(std::string_view value) {
  return !value.empty() && value.front() != '<' && value != "(null)";
}

void setLane(const LaneEntry& entry, Lane lane, bool on, const LogState& state) {
  if (on) {
    entry.spans.on(lane, state, entry.now);
  } else {
    entry.spans.off(lane, state.key, entry.now);
  }
}

void sample(const LaneEntry& entry, Curve curve, std::string_view key) {
  for (const LogField& field : entry.fields) {
    if (field.key != key) continue;
    const auto number = field.real();
    if (number && std::isfinite(*number) && !field.absent) {
      entry.sink.sample(curve, entry.now.time, *number, entry.now.position);
    }
    return;
  }
}

std::optional<double> realOf(const LaneEntry& entry, std::string_view key) {
  for (const LogField& field : entry.fields) {
    if (field.key != key) continue;
    const auto number = field.real();
    return number && std::isfinite(*number) && !field.absent ? number : std::nullopt;
  }
  return std::nullopt;
}

// Nothing, unless it is a figure above 0.
std::optional<double> positive(std::optional<double> figure) {
  return figure && *figure > 0 ? figure : std::nullopt;
}

// Whether a charger feeds the battery is told by the charging state and the current together: a
// battery that is too warm to be charged may be on a charger or not, and one that is being charged
// may be drained all the same, by more than the charger supplies.
void battery(const LaneEntry& entry) {
  const auto level = realOf(entry, "level");
  const bool isLevel = level && *level >= 0 && *level <= kHighestLevel;
  if (isLevel) sample(entry, Curve::Level, "level");
  sample(entry, Curve::Current, "current");
  sample(entry, Curve::Temperature, "battery_temp");
  const std::string_view state = entry.value("charging_state");
  const auto current = realOf(entry, "current");
  const bool says = isReported(state) && state != "Inactive";
  const bool drains = current && *current < kDraining;
  const bool feeds = current ? !drains : state == "Active" || state == "Full";
  setLane(entry, Lane::Charging, says && feeds, {.what = state});
  setLane(entry, Lane::WeakCharger, drains && state == "Active", {.what = state});
  setLane(entry, Lane::NotCharged,
          state == "OverTemp" || state == "UnderTemp" || state == "Gradient", {.what = state});
  const auto volts = positive(realOf(entry, "voltage"));
  if (isLevel) {
    entry.sink.battery({entry.now.time, *level, volts ? std::optional(*volts / 1000) : std::nullopt,
                        current, positive(realOf(entry, "max_capacity"))});
  }
}

void config(const LaneEntry& entry) {
  entry.sink.batteryLife({entry.integer("cycle_count"), positive(realOf(entry, "max_capacity")),
                          positive(realOf(entry, "design_capacity"))});
}

void display(const LaneEntry& entry) {
  entry.scratch.assign(entry.value("brightness")).append("/").append(entry.value("max"));
  setLane(entry, Lane::Display, entry.value("active") == "yes", {.what = entry.scratch});
}

void telephony(const LaneEntry& entry) {
  const std::string_view call = entry.value("call_status");
  setLane(entry, Lane::Call, isReported(call) && call != "Inactive" && call != "Idle",
          {.what = call});
  const std::string_view data = entry.value("data");
  setLane(entry, Lane::Data, isReported(data) && data != "inactive", {.what = data});
  if (entry.value("signal") != "-1") sample(entry, Curve::Signal, "signal");
}

void registration(const LaneEntry& entry) {
  setLane(entry, Lane::Registered, entry.value("status").starts_with("Registered"),
          {.who = entry.value("operator"), .what = entry.value("data_indicator")});
}

void wifi(const LaneEntry& entry) {
  setLane(entry, Lane::WiFi, entry.value("status") == "on", {.what = entry.value("ap")});
}

void bluetooth(const LaneEntry& entry) {
  setLane(entry, Lane::Bluetooth, entry.value("state") == "on",
          {.what = entry.value("connected") == "yes" ? "connected" : ""});
}

void audio(const LaneEntry& entry) {
  setLane(entry, Lane::Audio, entry.value("active") == "yes", {.what = entry.value("route")});
}

void application(const LaneEntry& entry) {
  const std::string_view mode = entry.value("mode");
  const std::string_view id = entry.value("id");
  setLane(entry, Lane::Application,
          mode == "foreground" || mode == "background" || mode == "running",
          {.key = id, .who = id, .pid = entry.integer("pid"), .what = mode});
}

void thermal(const LaneEntry& entry) {
  setLane(entry, Lane::Thermal, entry.integer("level") > 0, {.what = entry.value("level")});
}

void location(const LaneEntry& entry) {
  for (const LogField& field : entry.fields) {
    if (field.key.empty()) continue;
    setLane(entry, Lane::Location, field.value == "on", {.key = field.key, .what = field.key});
  }
}

void traffic(const LaneEntry& entry, Curve curve, std::string_view text) {
  if (!text.ends_with('K')) return;
  text.remove_suffix(1);
  const auto kibibytes = parseReal(text);
  if (!kibibytes || !(*kibibytes >= 0)) return;
  entry.sink.sample(curve, entry.now.time, *kibibytes * 1024, entry.now.position);
}

void network(const LaneEntry& entry) {
  // The first entry has no check before it. If an interface has been removed, the figures are
  // negative, and the traffic is unknown.
  if (entry.integer("TimeSinceLastCheck") <= 0) return;
  const std::string_view total = entry.value("TotalSinceLastCheck");
  const std::size_t slash = total.find('/');
  if (slash == total.npos) return;
  traffic(entry, Curve::Received, total.substr(0, slash));
  traffic(entry, Curve::Sent, total.substr(slash + 1));
}

constexpr std::pair<std::string_view, LaneHandler> kHandlers[] = {
    {"Application", application}, {"Audio", audio},     {"Battery", battery},
    {"Bluetooth", bluetooth},     {"Config", config},   {"Display", display},
    {"Geodyne", location},        {"Network", network}, {"Registration", registration},
    {"Telephony", telephony},     {"Thermal", thermal}, {"WiFi", wifi},
};

}  // namespace

LaneHandler laneHandlerOf(std::string_view category) {
  for (const auto& [name, handler] : kHandlers) {
    if (name == category) return handler;
  }
  return nullptr;
}

}  // namespace zorva
