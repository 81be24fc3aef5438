// SPDX-License-Identifier: Apache-2.0
#include "platform/assertions/linux/LinuxPowerManagement.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <utility>

namespace zorva {
namespace {

constexpr const char* kService = "org.freedesktop.login1";
constexpr const char* kPath = "/org/freedesktop/login1";
constexpr const char* kManager = "org.freedesktop.login1.Manager";

std::string assertionName(const LogindInhibitor& inhibitor) {
  if (inhibitor.who.empty() || inhibitor.why.empty()) return inhibitor.who + inhibitor.why;
  return inhibitor.who + ": " + inhibitor.why;
}

Dictionary record(const LogindInhibitor& inhibitor, Date start) {
  Dictionary result{{"AssertPID", std::int64_t{inhibitor.pid}},
                    {"AssertName", assertionName(inhibitor)},
                    {"AssertStartWhen", start},
                    {"AssertUser", std::int64_t{inhibitor.user}}};
  if (!inhibitor.what.empty()) result.set("AssertType", inhibitor.what);
  return result;
}

// "BlockInhibited", "DelayInhibited", "NCurrentInhibitors" and everything else about them.
bool reportsInhibitors(const char* property) {
  return std::strstr(property, "Inhibit") != nullptr;
}

}  // namespace

LinuxPowerManagement::LinuxPowerManagement(sd_event* event, LinuxBus& bus, const Clock& clock,
                                           std::function<void()> changed, std::string records,
                                           std::string users, SessionService::Limits limits)
    : bus_(bus),
      clock_(clock),
      records_(std::move(records)),
      changed_(event, std::move(changed)),
      // The signal does not come when a second lock of the same kind is taken; its record does.
      recordsWatch_(event, records_, LinuxPathWatch::Of::Contents, [this] { changed_.request(); }),
      sessions_(
          event, clock, [this] { changed_.request(); }, std::move(users), limits) {
  registrations_.push_back(bus_.observeSignals(
      std::string("type='signal',sender='") + kService + "',path='" + kPath +
          "',interface='org.freedesktop.DBus.Properties',member='PropertiesChanged',arg0='" +
          kManager + "'",
      [this](sd_bus_message* signal) { propertiesChanged(signal); }));
  registrations_.push_back(bus_.observeService(kService, [this] { changed_.request(); }));
  registrations_.push_back(bus_.observeConnection([this] { changed_.request(); }));
}

void LinuxPowerManagement::propertiesChanged(sd_bus_message* signal) {
  if (sd_bus_message_skip(signal, "s") < 0 ||
      sd_bus_message_enter_container(signal, SD_BUS_TYPE_ARRAY, "{sv}") < 0) {
    return;
  }
  while (sd_bus_message_enter_container(signal, SD_BUS_TYPE_DICT_ENTRY, "sv") > 0) {
    const char* property = nullptr;
    if (sd_bus_message_read(signal, "s", &property) < 0) return;
    if (reportsInhibitors(property)) return changed_.request();
    if (sd_bus_message_skip(signal, "v") < 0 || sd_bus_message_exit_container(signal) < 0) return;
  }
  if (sd_bus_message_exit_container(signal) < 0 ||
      sd_bus_message_enter_container(signal, SD_BUS_TYPE_ARRAY, "s") < 0) {
    return;
  }
  const char* property = nullptr;
  while (sd_bus_message_read(signal, "s", &property) > 0) {
    if (reportsInhibitors(property)) return changed_.request();
  }
}

LinuxBus::Outcome LinuxPowerManagement::listInhibitors(std::vector<LogindInhibitor>& inhibitors) {
  const LinuxBus::Reply reply = bus_.call(kService, kPath, kManager, "ListInhibitors");
  if (reply.outcome != LinuxBus::Outcome::Answered) return reply.outcome;
  sd_bus_message* answer = reply.message.get();
  if (sd_bus_message_enter_container(answer, SD_BUS_TYPE_ARRAY, "(ssssuu)") < 0) {
    return LinuxBus::Outcome::Failed;
  }
  for (;;) {
    const char *what, *who, *why, *mode;
    LogindInhibitor inhibitor;
    const int read = sd_bus_message_read(answer, "(ssssuu)", &what, &who, &why, &mode,
                                         &inhibitor.user, &inhibitor.pid);
    if (read < 0) return LinuxBus::Outcome::Failed;
    if (read == 0) return LinuxBus::Outcome::Answered;
    inhibitor.what = what;
    inhibitor.who = who;
    inhibitor.why = why;
    inhibitor.mode = mode;
    if (inhibitor.keepsAwake()) inhibitors.push_back(std::move(inhibitor));
  }
}

std::optional<std::vector<PowerManagement::ProcessAssertions>>
LinuxPowerManagement::copyAssertionsByProcess() {
  std::vector<LogindInhibitor> inhibitors;
  if (listInhibitors(inhibitors) == LinuxBus::Outcome::Failed) return std::nullopt;

  const std::vector<SessionInhibitor> ofApplications = sessions_.replaceLocks(inhibitors);
  std::map<LogindInhibitor, std::size_t> counts;
  for (const LogindInhibitor& inhibitor : inhibitors) ++counts[inhibitor];

  const InhibitorStarts recorded =
      counts.empty() ? InhibitorStarts() : readInhibitorStarts(records_);
  InhibitorStarts seen;
  std::map<std::int32_t, std::vector<std::pair<Date, Dictionary>>> byProcess;
  for (const auto& [inhibitor, count] : counts) {
    std::vector<Date> starts;
    if (const auto found = recorded.find(inhibitor);
        found != recorded.end() && found->second.size() >= count) {
      starts = found->second;
    } else {
      // Equal locks that cannot be distinguished: the last one seen is taken to be the one given
      // back.
      starts = firstSeen_[inhibitor];
      starts.resize(std::min(starts.size(), count));
      starts.resize(count, clock_.now());
      seen[inhibitor] = starts;
    }
    auto& records = byProcess[static_cast<std::int32_t>(inhibitor.pid)];
    for (std::size_t i = 0; i < count; ++i) {
      records.emplace_back(starts[i], record(inhibitor, starts[i]));
    }
  }
  firstSeen_ = std::move(seen);
  for (const auto& [lock, start, key] : ofApplications) {
    byProcess[static_cast<std::int32_t>(lock.pid)].emplace_back(start, record(lock, start));
  }

  std::vector<ProcessAssertions> result;
  for (auto& [pid, records] : byProcess) {
    std::stable_sort(records.begin(), records.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    ProcessAssertions assertions{pid, {}};
    for (auto& [start, dictionary] : records) assertions.records.push_back(std::move(dictionary));
    result.push_back(std::move(assertions));
  }
  return result;
}

}  // namespace zorva
