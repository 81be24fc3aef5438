// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/LinuxSystemPower.h"

#include <algorithm>
#include <fcntl.h>
#include <string>
#include <utility>

#include "platform/kit/bus/BusProperties.h"

namespace zorva {
namespace {

constexpr int kMaxRetries = 4;  // each after twice the time of the one before: 15 seconds in all

}  // namespace

struct LinuxSystemPower::Listener {
  Handler handler;
  bool listens = false;  ///< its source is on the loop
  bool waits = false;    ///< notified of a sleep that it has not allowed yet
  bool removed = false;
};

class LinuxSystemPower::LinuxPort : public Port {
 public:
  using Listeners = std::map<std::uint32_t, std::shared_ptr<Listener>>;

  LinuxPort(LinuxSystemPower* owner, std::uint32_t number, std::weak_ptr<Listeners> listeners)
      : listen_([owner, number, weak = std::move(listeners)](bool listens) {
          const auto alive = weak.lock();  // as long as the owner
          if (!alive) return false;
          const auto found = alive->find(number);
          if (found == alive->end()) return false;
          found->second->listens = listens;
          found->second->waits = false;
          owner->allowWhenNobodyWaits();
          return true;
        }) {}
  LinuxPort(const LinuxPort&) = delete;
  LinuxPort& operator=(const LinuxPort&) = delete;
  ~LinuxPort() override { listen_(false); }

  Registration addSourceToRunLoop() override {
    if (!listen_(true)) return {};
    return Registration([listen = listen_] { listen(false); });
  }

 private:
  // Whether the messages reach the listener; false when it is gone.
  std::function<bool(bool listens)> listen_;
};

LinuxSystemPower::LinuxSystemPower(sd_event* event, LinuxBus& bus, Hooks hooks)
    : LinuxSystemPower(event, bus, std::move(hooks), Sources()) {}

LinuxSystemPower::LinuxSystemPower(sd_event* event, LinuxBus& bus, Hooks hooks, Sources sources)
    : event_(event),
      bus_(bus),
      hooks_(std::move(hooks)),
      sources_(std::move(sources)),
      listeners_(std::make_shared<std::map<std::uint32_t, std::shared_ptr<Listener>>>()),
      before_(record()),
      clockJumps_(ClockJumpWatch::make(event, [this] {
        clockJumped();
        // The kernel counts a sleep after it has let programs run again.
        recount_ = startTimer(event_, CLOCK_MONOTONIC, sources_.firstRetry, onRecount, this);
      })) {
  registrations_.push_back(bus_.observeSignals(
      std::string("type='signal',sender='") + kLoginService + "',path='" + kLoginPath +
          "',interface='" + kLoginManager + "',member='PrepareForSleep'",
      [this](sd_bus_message* signal) {
        int sleep = 0;
        if (sd_bus_message_read(signal, "b", &sleep) > 0) prepareForSleep(sleep != 0);
      }));
  registrations_.push_back(bus_.observeService(kLoginService, [this] { managerChanged(); }));
  registrations_.push_back(bus_.observeConnection([this] { managerChanged(); }));
}

LinuxSystemPower::~LinuxSystemPower() = default;

SystemPower::Registered LinuxSystemPower::registerForSystemPower(Handler handler) {
  const std::uint32_t number = ++lastNumber_;
  auto listener = std::make_shared<Listener>();
  listener->handler = std::move(handler);
  listeners_->emplace(number, std::move(listener));
  if (!inhibitor_) takeInhibitor();
  return {number, number, std::make_unique<LinuxPort>(this, number, listeners_)};
}

void LinuxSystemPower::takeInhibitor() {
  refusals_ = 0;
  tryInhibitor();
}

void LinuxSystemPower::tryInhibitor() {
  retry_.reset();
  if (listeners_->empty()) return;
  const LinuxBus::Reply reply =
      bus_.call(kLoginService, kLoginPath, kLoginManager, "Inhibit", [](sd_bus_message* call) {
        return sd_bus_message_append(call, "ssss", "sleep", "Zorva", "Logs the way to sleep",
                                     "delay");
      });
  if (reply.outcome == LinuxBus::Outcome::Failed && refusals_ < kMaxRetries) {
    // The login manager refuses every lock while it puts the system to sleep.
    const auto delay = sources_.firstRetry * (1 << refusals_++);
    if (auto source = startTimer(event_, CLOCK_MONOTONIC, delay, onRetry, this)) {
      retry_ = std::move(source);
    }
  }
  if (reply.outcome != LinuxBus::Outcome::Answered) return;
  int lock = -1;  // the message's
  if (sd_bus_message_read(reply.message.get(), "h", &lock) <= 0) return;
  // A lock that a restarted login manager may have kept is given back only for a new one.
  inhibitor_ = Descriptor(::fcntl(lock, F_DUPFD_CLOEXEC, 3));
}

int LinuxSystemPower::onRetry(sd_event_source*, std::uint64_t, void* self) {
  static_cast<LinuxSystemPower*>(self)->tryInhibitor();
  return 0;
}

int LinuxSystemPower::onRecount(sd_event_source*, std::uint64_t, void* self) {
  auto& power = *static_cast<LinuxSystemPower*>(self);
  // What it has not counted by now was no sleep to it, as a hibernation is not.
  power.before_.successes = std::min(power.before_.successes, power.record().successes);
  power.clockJumped();  // perhaps of another sleep, which it has still to count
  return 0;
}

SleepRecord LinuxSystemPower::record() const {
  return readSleepRecord(sources_.sysfs, sources_.timeSlept());
}

// The bus may deliver its messages first. A clock that was set while the system slept, or back by
// more than the sleep, shows none, but the kernel counts it.
void LinuxSystemPower::clockJumped() {
  SleepRecord after = record();
  const bool counted = before_.successes && after.successes > before_.successes;
  if (after.slept - before_.slept < kMinSleep && !counted) return;  // the clock was set
  if (state_ == State::Waking) deliverWake();                       // of the sleep before
  if (sleepResult(before_, after) == SleepResult::Failed) return stayAwake(after);
  // The kernel counts a sleep after it has let programs run again: that is no second one.
  if (after.successes && after.successes == before_.successes) ++*after.successes;
  wake(after);
}

void LinuxSystemPower::managerChanged() {
  clockJumped();
  if (state_ == State::Awake || state_ == State::Waking) return takeInhibitor();
  // The end of the sleep may not have been announced.
  if (!managerPrepares()) sleepEnded();
}

// Also true if the login manager does not reply.
bool LinuxSystemPower::managerPrepares() const {
  const LinuxBus::Reply reply =
      getProperty(bus_, kLoginService, kLoginPath, kLoginManager, "PreparingForSleep", "b");
  int sleeps = 1;
  return reply.outcome != LinuxBus::Outcome::Answered ||
         sd_bus_message_read(reply.message.get(), "b", &sleeps) <= 0 || sleeps != 0;
}

void LinuxSystemPower::prepareForSleep(bool sleep) {
  clockJumped();
  // If the daemon could not run before the sleep, its announcement is received after the wake.
  if (sleep && std::exchange(unannounced_, false) && !managerPrepares()) return;
  switch (state_) {
    case State::Awake:
      if (sleep) return announceSleep();
      // The end was reported already. While the login manager was at it, it refused the lock.
      if (!inhibitor_) takeInhibitor();
      break;
    case State::Announced:
      if (!sleep) sleepEnded();
      break;
    case State::Allowed:
      sleep ? announceSleep() : sleepEnded();
      break;
    case State::Waking:
      if (!sleep) {
        if (!inhibitor_) takeInhibitor();
        break;
      }
      deliverWake();  // never after the next sleep's announcement
      announceSleep();
      break;
  }
}

void LinuxSystemPower::announceSleep() {
  state_ = State::Announced;
  before_ = record();
  retry_.reset();
  ++announcement_;
  for (const auto& [number, listener] : *listeners_) listener->waits = listener->listens;
  deliver(PowerMessage::WillSleep, announcement_);
  allowWhenNobodyWaits();
}

void LinuxSystemPower::allowPowerChange(std::uint32_t connection, std::intptr_t argument) {
  const auto found = listeners_->find(connection);
  if (found == listeners_->end() || argument != announcement_) return;
  found->second->waits = false;
  allowWhenNobodyWaits();
}

void LinuxSystemPower::allowWhenNobodyWaits() {
  if (state_ != State::Announced ||
      std::any_of(listeners_->begin(), listeners_->end(),
                  [](const auto& entry) { return entry.second->waits; })) {
    return;
  }
  state_ = State::Allowed;
  if (hooks_.beforeSleep) hooks_.beforeSleep();
  inhibitor_ = Descriptor();
}

void LinuxSystemPower::sleepEnded() {
  const SleepRecord after = record();
  sleepResult(before_, after) == SleepResult::Failed ? stayAwake(after) : wake(after);
}

void LinuxSystemPower::wake(const SleepRecord& after) {
  const bool prepared = state_ == State::Allowed;
  unannounced_ = state_ == State::Awake;
  state_ = State::Waking;
  endAnnouncement(after);
  if (hooks_.resumed) hooks_.resumed(prepared);
  if (!inhibitor_) takeInhibitor();
  if (!hooks_.afterWake) return deliverWake();
  hooks_.afterWake([this, weak = std::weak_ptr(listeners_), wake = announcement_] {
    if (weak.lock() && announcement_ == wake) deliverWake();
  });
}

void LinuxSystemPower::deliverWake() {
  if (state_ != State::Waking) return;
  state_ = State::Awake;
  deliver(PowerMessage::HasPoweredOn, 0);
  if (hooks_.sleepOver) hooks_.sleepOver();
}

void LinuxSystemPower::stayAwake(const SleepRecord& after) {
  state_ = State::Awake;
  endAnnouncement(after);
  if (!inhibitor_) takeInhibitor();
  if (hooks_.sleepOver) hooks_.sleepOver();
  deliver(PowerMessage::WillNotSleep, 0);
}

void LinuxSystemPower::endAnnouncement(const SleepRecord& after) {
  before_ = after;
  for (const auto& [number, listener] : *listeners_) listener->waits = false;
  ++announcement_;  // what is allowed from now on is a sleep of the past
}

void LinuxSystemPower::deliver(PowerMessage message, std::intptr_t argument) {
  std::vector<std::shared_ptr<Listener>> reported;
  for (const auto& [number, listener] : *listeners_) reported.push_back(listener);
  for (const auto& listener : reported) {
    if (listener->removed || !listener->listens) continue;
    const Handler handler = listener->handler;
    handler(static_cast<std::uint32_t>(message), argument);
  }
}

void LinuxSystemPower::deregisterForSystemPower(std::uint32_t& notifier) {
  remove(std::exchange(notifier, 0));
}

void LinuxSystemPower::closeConnection(std::uint32_t connection) {
  remove(connection);
}

void LinuxSystemPower::remove(std::uint32_t number) {
  const auto found = listeners_->find(number);
  if (found == listeners_->end()) return;
  found->second->removed = true;
  listeners_->erase(found);
  allowWhenNobodyWaits();
  if (!listeners_->empty()) return;
  inhibitor_ = Descriptor();
  retry_.reset();
}

}  // namespace zorva
