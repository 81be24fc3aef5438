// SPDX-License-Identifier: Apache-2.0
#include "platform/assemble/SimPowerModel.h"

#include <algorithm>
#include <cmath>

namespace zorva {
namespace {

using Kind = EnergyCause::Kind;

// A brighter display than this uses no more.
constexpr std::int64_t kMaxBrightness = 1000000;
constexpr std::int64_t kMaxDisplay = 1000000000;  // microwatts

bool isMobile(const std::string& interface) {
  return interface.starts_with("pdp_ip") || interface.starts_with("wwan");
}

}  // namespace

SimPowerModel::SimPowerModel(SimParts& parts, const Services& services) : services_(services) {
  parts.sections.addStart("power_model", [this](const ScenarioNode& node) -> ScenarioAction {
    isInScenario_ = true;
    return [this, figures = PowerFigures::read(node)] { begin(figures); };
  });
  parts.sections.addStep("charger", [this](const ScenarioNode& node) -> ScenarioAction {
    if (!isInScenario_) node.refuse("a charger needs a \"power_model\" under \"device\"");
    return [this, microwatts = readCharger(node)] { setCharger(microwatts); };
  });
  services_.runLoop.setPassage(
      {[this] { timeBegins(); }, [this](Duration time) { timeEnds(time); }});
}

void SimPowerModel::begin(const PowerFigures& figures) {
  figures_ = figures;
  charger_ = figures.charger;
  const auto chargeOf = [this](double level) {
    return std::llround(level * static_cast<double>(figures_.percent));
  };
  account_.emplace(figures.percent, chargeOf(services_.battery.level()));
  shown_ = account_->hundredths();
  levelSet_ = services_.battery.observeLevelSet([this, chargeOf](double level) {
    account_->settle(charger_, Duration(0));
    account_->set(chargeOf(level));
    shown_ = account_->hundredths();
    show();
  });
  observeAmounts();
  feedCounters();
  show();
}

void SimPowerModel::observeAmounts() {
  cpuTime_ = services_.processes.observeCpuTime(
      [this](pid_t pid, const SimProcess& process, Duration time) {
        if (standsStill()) return;
        account_->draw({Kind::Process, pid, process.name}, figures_.cpu, time,
                       services_.systemPower.isAsleep());
      });
  traffic_ = services_.interfaces.observeTraffic(
      [this](const SimNetworkInterfaces::Interface& interface, std::uint64_t bytes) {
        if (interface.loopback || standsStill()) return;
        const bool mobile = isMobile(interface.name);
        account_->drawBytes({mobile ? Kind::Modem : Kind::Wifi},
                            mobile ? figures_.modemTraffic : figures_.wifiTraffic,
                            static_cast<std::int64_t>(bytes), services_.systemPower.isAsleep());
      });
}

// Where there is no counter of the name yet, it is made.
void SimPowerModel::feedCounters() {
  for (const auto& [name, kinds] : figures_.counters) services_.energy.addMicrojoules(name, 0);
  energy_ = account_->observeUse([this](const EnergyCause& cause, std::int64_t microjoules) {
    for (const auto& [name, kinds] : figures_.counters) {
      if (!kinds.contains(cause.kind)) continue;
      services_.energy.addMicrojoules(name, static_cast<std::uint64_t>(microjoules));
    }
  });
}

void SimPowerModel::timeBegins() {
  if (!account_) return;
  account_->settle(charger_, Duration(0));
  show();
  plan();
}

void SimPowerModel::timeEnds(Duration passed) {
  if (passed == Duration(0)) return;
  const bool asleep = services_.systemPower.isAsleep();
  const bool still = account_ && standsStill();
  if (!asleep) {
    awake_ += passed;
    services_.processes.compute(passed);
  }
  if (!account_) return;
  if (still) {
    account_->draw({Kind::Off}, 0, passed, asleep);
  } else {
    for (const Draw& draw : draws()) {
      account_->draw(draw.cause, draw.microwatts, passed, asleep);
    }
  }
  account_->settle(still ? 0 : charger_, passed);
  show();
}

void SimPowerModel::setCharger(std::int64_t microwatts) {
  account_->settle(charger_, Duration(0));
  charger_ = microwatts;
  show();
  account_->takeReached();
  services_.battery.announce();
}

std::vector<SimPowerModel::Draw> SimPowerModel::draws() const {
  if (services_.systemPower.isAsleep()) return {{{Kind::Asleep}, figures_.asleep}};
  std::vector<Draw> draws{{{Kind::Awake}, figures_.awake}};
  const auto add = [&](Kind kind, std::int64_t microwatts) {
    if (microwatts > 0) draws.push_back({{kind}, microwatts});
  };
  const std::int64_t brightness =
      std::clamp<std::int64_t>(services_.backlight.brightness(), 0, kMaxBrightness);
  if (services_.backlight.entry().present()) {
    add(Kind::Display, std::min(figures_.display * brightness, kMaxDisplay));
  }
  if (services_.telephony.hasActiveCall()) add(Kind::Modem, figures_.call);
  if (services_.audio.attribute(audio::kPlaying).boolean() &&
      !services_.audio.attribute(audio::kFullMute).boolean()) {
    add(Kind::Audio, figures_.audio);
  }
  return draws;
}

// In microwatts; above 0 while the charge rises.
std::int64_t SimPowerModel::netPower() const {
  std::int64_t used = 0;
  for (const Draw& draw : draws()) used += draw.microwatts;
  if (!services_.systemPower.isAsleep()) {
    for (const auto& [pid, process] : services_.processes.all()) {
      used += process.load * figures_.cpu / 1000000;
    }
  }
  return charger_ - used;
}

// A handset whose battery is empty, or taken out, is off.
bool SimPowerModel::standsStill() const {
  return !services_.battery.entry().present() || (account_->isEmpty() && netPower() <= 0);
}

void SimPowerModel::show() {
  const std::int64_t hundredths = account_->hundredths();
  SimBattery& battery = services_.battery;
  if (hundredths != shown_) battery.showLevel(static_cast<double>(hundredths) / 100.0);
  shown_ = hundredths;

  const bool isFull = charger_ > 0 && account_->isFull() && netPower() >= 0;
  const std::int64_t net = standsStill() || isFull ? 0 : netPower();
  const std::int64_t milliamperes = net / figures_.millivolts;
  battery.setCurrent(milliamperes);
  battery.setChargingCurrent(milliamperes);
  battery.setCharging(net > 0);
  battery.setFullyCharged(isFull);
  battery.setCritical(account_->isEmpty());
}

// Plans the moment when the next whole percent is reached. While the handset sleeps the moment
// passes in silence, and the wake announces it.
void SimPowerModel::plan() {
  timer_.reset();
  std::optional<Duration> time;
  if (account_->hasReached() && !services_.systemPower.isAsleep()) {
    time = Duration(0);
  } else if (!standsStill()) {
    time = account_->timeToWholePercent(netPower());
  }
  if (!time) return;
  timer_ = services_.runLoop.startTimer(static_cast<double>(time->count()) / 1e6, [this] {
    if (services_.systemPower.isAsleep() || !account_->takeReached()) return;
    services_.battery.announce();
  });
}

}  // namespace zorva
