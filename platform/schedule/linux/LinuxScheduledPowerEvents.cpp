// SPDX-License-Identifier: Apache-2.0
#include "platform/schedule/linux/LinuxScheduledPowerEvents.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/kit/bus/BusProperties.h"
#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

using std::chrono::microseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr const char* kServiceManager = "org.freedesktop.systemd1";
constexpr const char* kServiceManagerPath = "/org/freedesktop/systemd1";
constexpr const char* kManager = "org.freedesktop.systemd1.Manager";
constexpr const char* kTimer = "org.freedesktop.systemd1.Timer";

// Excludes times that mean "never", and those too far in the future (a thousand years).
constexpr std::uint64_t kForever = 1000ULL * 366 * 86'400 * 1'000'000;
// Dates beyond the year 9999 cannot be written and are rejected.
constexpr std::int64_t kLatestSecond = 253'402'300'799;

Dictionary event(Date time, const char* type, std::string scheduledBy) {
  return {{"time", time}, {"eventtype", type}, {"scheduledby", std::move(scheduledBy)}};
}

std::optional<Date> dateOf(std::uint64_t usec) {
  if (usec == 0 || usec / 1'000'000 > kLatestSecond) return std::nullopt;
  return Date(microseconds(static_cast<std::int64_t>(usec)));
}

Date timeOf(const Dictionary& event) {
  return event["time"].date().value_or(Date());
}

// The event type of the login manager's scheduled action; nothing for a dry run. A kexec starts
// another kernel: for the user it is a restart.
const char* shutdownType(std::string_view type) {
  if (type == "poweroff" || type == "halt") return "shutdown";
  if (type == "reboot" || type == "soft-reboot" || type == "kexec") return "restart";
  return nullptr;
}

struct Timer {
  int wakesSystem = 0;
  std::uint64_t realtimeUsec = 0;   ///< its next run, by the wall clock; 0 or huge: none
  std::uint64_t monotonicUsec = 0;  ///< the same by CLOCK_MONOTONIC
};

std::optional<Timer> readTimer(sd_bus_message* properties) {
  Timer timer;
  if (sd_bus_message_enter_container(properties, SD_BUS_TYPE_ARRAY, "{sv}") < 0) {
    return std::nullopt;
  }
  while (sd_bus_message_enter_container(properties, SD_BUS_TYPE_DICT_ENTRY, "sv") > 0) {
    const char* text = nullptr;
    if (sd_bus_message_read(properties, "s", &text) < 0) return std::nullopt;
    const std::string_view name = text;
    int read = 0;
    if (name == "WakeSystem") {
      read = sd_bus_message_read(properties, "v", "b", &timer.wakesSystem);
    } else if (name == "NextElapseUSecRealtime") {
      read = sd_bus_message_read(properties, "v", "t", &timer.realtimeUsec);
    } else if (name == "NextElapseUSecMonotonic") {
      read = sd_bus_message_read(properties, "v", "t", &timer.monotonicUsec);
    } else {
      read = sd_bus_message_skip(properties, "v");
    }
    if (read < 0 || sd_bus_message_exit_container(properties) < 0) return std::nullopt;
  }
  return timer;
}

}  // namespace

std::int64_t LinuxScheduledPowerEvents::monotonicUsec() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1'000'000 + now.tv_nsec / 1'000;
}

LinuxScheduledPowerEvents::LinuxScheduledPowerEvents(LinuxBus& bus, const Clock& clock,
                                                     std::string sysfs,
                                                     std::function<std::int64_t()> monotonic)
    : bus_(bus), clock_(clock), sysfs_(std::move(sysfs)), monotonic_(std::move(monotonic)) {}

std::optional<std::vector<Dictionary>> LinuxScheduledPowerEvents::copyScheduledPowerEvents() {
  const Deadline deadline = steady_clock::now() + kTimeLimit;
  std::vector<Dictionary> events;
  const bool alarms = addAlarms(events);
  const bool shutdown = addShutdown(events);
  const bool timers = steady_clock::now() < deadline && addTimers(events, deadline);
  if (!alarms && !shutdown && !timers) return std::nullopt;
  std::stable_sort(events.begin(), events.end(),
                   [](const Dictionary& a, const Dictionary& b) { return timeOf(a) < timeOf(b); });
  return events;
}

bool LinuxScheduledPowerEvents::addAlarms(std::vector<Dictionary>& events) const {
  const std::string directory = sysfs_ + "/class/rtc/";
  const std::vector<std::string> clocks = entryNames(directory);
  for (const std::string& name : clocks) {
    const auto alarm = readNumber(directory + name + "/wakealarm");
    if (!alarm || *alarm <= 0 || *alarm > kLatestSecond) continue;
    // The alarm is in the clock's own time, which may be local time, or wrong; the remaining time
    // is right in any case. The clock counts whole seconds, so it is off by up to one.
    Date time{seconds(*alarm)};
    const std::int64_t now = secondsSinceEpoch(clock_.now());
    if (const auto own = readNumber(directory + name + "/since_epoch");
        own && *own >= 0 && *own <= kLatestSecond && std::abs(*own - now) > 1) {
      time += seconds(now - *own);
    }
    const std::string driver = readAttribute(directory + name + "/name").value_or("");
    const std::string shortName = driver.substr(0, driver.find(' '));
    events.push_back(event(time, "wake", shortName.empty() ? name : name + " (" + shortName + ")"));
  }
  return !clocks.empty();
}

bool LinuxScheduledPowerEvents::addShutdown(std::vector<Dictionary>& events) const {
  const LinuxBus::Reply reply =
      getProperty(bus_, kLoginService, kLoginPath, kLoginManager, "ScheduledShutdown", "(st)");
  if (reply.outcome != LinuxBus::Outcome::Answered) return false;
  const char* type = nullptr;
  std::uint64_t usec = 0;
  if (sd_bus_message_read(reply.message.get(), "(st)", &type, &usec) <= 0) return false;
  const auto time = dateOf(usec);
  if (const char* known = shutdownType(type); known && time) {
    events.push_back(event(*time, known, "logind"));
  }
  return true;
}

bool LinuxScheduledPowerEvents::addTimers(std::vector<Dictionary>& events,
                                          Deadline deadline) const {
  const LinuxBus::Reply reply =
      bus_.call(kServiceManager, kServiceManagerPath, kManager, "ListUnitsByPatterns",
                [](sd_bus_message* call) {
                  return sd_bus_message_append(call, "asas", 1, "active", 1, "*.timer");
                });
  sd_bus_message* list = reply.message.get();
  if (reply.outcome != LinuxBus::Outcome::Answered ||
      sd_bus_message_enter_container(list, SD_BUS_TYPE_ARRAY, "(ssssssouso)") < 0) {
    return false;
  }
  const char *unit, *path;
  for (int timers = 0; timers < kMaxTimers && steady_clock::now() < deadline; ++timers) {
    if (sd_bus_message_read(list, "(ssssssouso)", &unit, nullptr, nullptr, nullptr, nullptr,
                            nullptr, &path, nullptr, nullptr, nullptr) <= 0 ||
        !addTimer(events, unit, path)) {
      break;
    }
  }
  return true;
}

// Whether the service manager can be queried further. A timer that has ended since it was listed
// causes an error, which takes no time; slow replies are limited by the deadline.
bool LinuxScheduledPowerEvents::addTimer(std::vector<Dictionary>& events, const std::string& unit,
                                         const std::string& path) const {
  const LinuxBus::Reply reply =
      bus_.call(kServiceManager, path.c_str(), "org.freedesktop.DBus.Properties", "GetAll",
                [](sd_bus_message* call) { return sd_bus_message_append(call, "s", kTimer); });
  if (reply.outcome == LinuxBus::Outcome::Absent) return false;
  if (reply.outcome == LinuxBus::Outcome::Failed) return true;
  const auto timer = readTimer(reply.message.get());
  if (!timer || !timer->wakesSystem) return true;

  std::optional<Date> next = dateOf(timer->realtimeUsec);
  if (timer->monotonicUsec != 0 && timer->monotonicUsec < kForever) {
    const auto left = microseconds(static_cast<std::int64_t>(timer->monotonicUsec) - monotonic_());
    const Date date = clock_.now() + left;
    if (!next || date < *next) next = date;
  }
  if (next) events.push_back(event(*next, "wake", unit));
  return true;
}

}  // namespace zorva
