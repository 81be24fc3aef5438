// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/LinuxPowerSource.h"

#include <algorithm>
#include <ctime>
#include <utility>
#include <vector>

#include "platform/kit/loop/EventSources.h"

namespace zorva {
namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

constexpr const char* kUPowerRefreshed =
    "type='signal',sender='org.freedesktop.UPower',"
    "interface='org.freedesktop.DBus.Properties',member='PropertiesChanged',"
    "arg0='org.freedesktop.UPower.Device'";

std::chrono::nanoseconds timeOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

// How long the system has been asleep since it was started.
std::chrono::nanoseconds timeAsleep() {
  return timeOf(CLOCK_BOOTTIME) - timeOf(CLOCK_MONOTONIC);
}

// A timer that never wakes a suspended system.
class Timer {
 public:
  Timer(sd_event* event, std::function<void()> due) : event_(event), due_(std::move(due)) {}
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  void start(microseconds delay, microseconds slack) {
    source_ = startTimer(event_, CLOCK_MONOTONIC, delay, fired, this, slack);
  }
  void stop() { source_.reset(); }
  bool running() const { return source_ != nullptr; }

 private:
  static int fired(sd_event_source*, std::uint64_t, void* self) {
    auto& timer = *static_cast<Timer*>(self);
    timer.source_.reset();
    const auto due = timer.due_;  // may destroy the timer
    due();
    return 0;
  }

  sd_event* event_;
  std::function<void()> due_;
  EventSource source_;
};

}  // namespace

class LinuxPowerSource::PowerSourceWatch : public Watch {
 public:
  PowerSourceWatch(LinuxPowerSource& source, sd_event* event, Report report)
      : source_(source),
        report_(std::move(report)),
        held_(event, [this] { judge(Occasion::Held); }),
        settled_(event, [this] { look(); }),
        coarse_(event, [this] { look(); }) {
    source_.read();
    news_.emplace(source_.properties_, source_.pace_.drifts);
    sleep_ = source_.sleeps_.add([this] { look(); });
    prepare();
  }

  void deviceChanged(const DeviceEvent& event) override {
    if (source_.take(event)) return judge(Occasion::OwnEvent);
    if (event.action == "change") return chargerChanged();
    look();
  }

 private:
  using Occasion = PowerSourceNews::Occasion;
  using Driver = PowerSourceNews::Driver;

  void look() { judge(Occasion::Look); }

  // Looks now unless it has looked a moment ago.
  void lookNow() {
    if (!lookedAt_ || steady_clock::now() - *lookedAt_ >= source_.pace_.settled) look();
  }

  // A charger's event. The batteries notice the change later.
  void chargerChanged() {
    if (!settled_.running()) {
      settled_.start(source_.pace_.settled, source_.pace_.settled / 5);
    }
    lookNow();
  }

  void judge(Occasion occasion) {
    if (occasion != Occasion::OwnEvent) {
      source_.turn_.reset();  // what the batteries say now
      source_.read();
      lookedAt_ = steady_clock::now();
    }
    const auto asleep = timeAsleep();
    const bool slept = asleep - asleep_ > std::chrono::milliseconds(100);
    asleep_ = asleep;
    const bool news = news_->isNews(occasion, source_.properties_, slept, steady_clock::now());
    prepare();
    if (!news) return;
    const Report report = report_;  // may destroy this object
    report(kBatteryStatusChanged, {});
  }

  // Sets up what may bring the next news.
  void prepare() {
    const auto held = news_->heldUntil();
    if (!held) {
      held_.stop();
    } else if (!held_.running()) {
      const auto delay = std::chrono::duration_cast<microseconds>(*held - steady_clock::now());
      held_.start(std::max(delay, microseconds(0)), source_.pace_.drifts / 6);
    }
    const bool silent = news_->driver() == Driver::Silent;
    if (!silent || !source_.present_ || source_.properties_["FullyCharged"].boolean()) {
      coarse_.stop();
    } else if (!coarse_.running()) {
      coarse_.start(source_.pace_.coarse, source_.pace_.slack);
    }
    if (news_->driver() == Driver::Eventful) {
      upower_.reset();
    } else if (!upower_ && source_.bus_) {
      // A refresh sends a signal for each of UPower's devices, of which the first is enough.
      upower_ =
          source_.bus_->observeSignals(kUPowerRefreshed, [this](sd_bus_message*) { lookNow(); });
    }
  }

  LinuxPowerSource& source_;
  Report report_;
  std::optional<PowerSourceNews> news_;
  std::chrono::nanoseconds asleep_ = timeAsleep();
  std::optional<steady_clock::time_point> lookedAt_;
  Timer held_, settled_, coarse_;
  Registration sleep_, upower_;
};

LinuxPowerSource::LinuxPowerSource(sd_event* event, std::string classDirectory, LinuxBus* bus,
                                   Pace pace)
    : event_(event), classDirectory_(std::move(classDirectory)), bus_(bus), pace_(pace) {}

// Supplies that have gone are forgotten, and with them what was learnt of them. The others are
// judged anew each time: one that is just being registered may lack its attributes.
void LinuxPowerSource::findMembers() {
  const std::vector<std::string> names = entryNames(classDirectory_);
  std::erase_if(members_, [&](const auto& member) {
    return !std::ranges::binary_search(names, member.first);
  });
  for (const std::string& name : names) {
    if (members_.contains(name)) continue;
    const std::string directory = classDirectory_ + "/" + name;
    if (readAttribute(directory + "/type") != "Battery" ||
        readAttribute(directory + "/scope") == "Device") {
      continue;
    }
    Member member{SupplyReader(directory), {}};
    if (member.reader.hasLevel()) members_.emplace(name, std::move(member));
  }
}

bool LinuxPowerSource::exists() {
  findMembers();
  return !members_.empty();
}

bool LinuxPowerSource::hasGasGauge() {
  read();
  return std::ranges::any_of(members_, [this](const auto& member) {
    const SupplyReader& reader = member.second.reader;
    return (reader.present() || !present_) && reader.hasGasGauge();
  });
}

void LinuxPowerSource::read() {
  std::uint64_t turn = 0;
  if (sd_event_get_iteration(event_, &turn) >= 0 && std::exchange(turn_, turn) == turn) return;
  findMembers();
  for (auto& [name, member] : members_) member.reader.read();
  combine();
}

// True if a battery's event has brought its state, or has asked to read it.
bool LinuxPowerSource::take(const DeviceEvent& event) {
  if (event.action == "remove") return false;
  const std::string sysname = event.name();
  const auto found = members_.find(sysname);
  if (found == members_.end()) return false;
  const bool taken = found->second.reader.take([&event](const std::string& name) {
    const char* const value = event.value(("POWER_SUPPLY_" + name).c_str());
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
  });
  if (!taken) found->second.reader.read();
  for (auto& [name, member] : members_) {
    if (name == sysname) continue;
    const auto readAt = member.reader.readAt();
    if (!readAt || steady_clock::now() - *readAt >= pace_.stale) member.reader.read();
  }
  combine();
  std::uint64_t turn = 0;
  if (sd_event_get_iteration(event_, &turn) >= 0) turn_ = turn;
  return true;
}

void LinuxPowerSource::combine() {
  std::vector<Battery> batteries;
  for (auto& [name, member] : members_) {
    if (member.reader.present()) {
      batteries.push_back(readBattery(std::cref(member.reader), member.sign));
    }
  }
  present_ = !batteries.empty();
  properties_ = !present_ ? Dictionary() : powerSourceProperties(combined(batteries));
}

RegistryResult LinuxPowerSource::readProperties(Dictionary& properties) {
  read();
  if (!present_) return kRegistryNoDevice;
  properties = properties_;
  return kRegistrySuccess;
}

Value LinuxPowerSource::readProperty(const std::string& key) {
  read();
  return properties_[key];
}

std::unique_ptr<LinuxRegistryEntry::Watch> LinuxPowerSource::watch(sd_event* event, Report report) {
  return std::make_unique<PowerSourceWatch>(*this, event, std::move(report));
}

}  // namespace zorva
