// SPDX-License-Identifier: Apache-2.0
#include "platform/loop/sim/SimRunLoop.h"

#include <algorithm>
#include <cmath>
#include <poll.h>
#include <vector>

namespace zorva {
namespace {

// A callback that leaves its descriptor readable would be called for ever at one moment of virtual
// time; after so many rounds the next step gets its turn.
constexpr int kDescriptorRounds = 1000;

// Far beyond any scenario, and far from the end of the date's range.
constexpr SimClock::Duration kFarAway = std::chrono::hours(24 * 365 * 100);

SimClock::Duration durationOf(double seconds) {
  if (std::isnan(seconds) || seconds <= 0.0) return SimClock::Duration(0);
  const std::chrono::duration<double> duration(seconds);
  if (duration >= kFarAway) return kFarAway;
  return std::chrono::round<SimClock::Duration>(duration);
}

}  // namespace

SimRunLoop::SimRunLoop(SimParts& parts, SimClock& clock)
    : clock_(clock), watchFault_(parts.faults, "runLoop.watchDescriptor") {}

Registration SimRunLoop::watchDescriptor(int descriptor, std::function<void()> ready) {
  if (watchFault_.strikes() || descriptor < 0) return {};
  const std::uint64_t number = ++lastNumber_;
  plans_->watches.emplace(number, Watch{descriptor, std::move(ready)});
  return Registration([weak = std::weak_ptr(plans_), number] {
    if (const auto plans = weak.lock()) plans->watches.erase(number);
  });
}

Registration SimRunLoop::startTimer(double seconds, std::function<void()> fire) {
  const auto key = plan(clock_.elapsed_ + durationOf(seconds), std::move(fire));
  return Registration([weak = std::weak_ptr(plans_), key] {
    if (const auto plans = weak.lock()) plans->agenda.erase(key);
  });
}

void SimRunLoop::schedule(Duration offset, std::function<void()> step) {
  plan(std::max(offset, clock_.elapsed_), std::move(step));
}

bool SimRunLoop::run() {
  runUntil(Duration::max());
  return true;
}

void SimRunLoop::advance(double seconds) {
  const Duration end = clock_.elapsed_ + durationOf(seconds);
  runUntil(end);
  if (!stopped_) moveClock(end);
}

void SimRunLoop::moveClock(Duration to) {
  const Duration passed = std::max(to - clock_.elapsed_, Duration(0));
  clock_.elapsed_ += passed;
  passage_.ends(passed);
}

SimRunLoop::Agenda::key_type SimRunLoop::plan(Duration due, std::function<void()> what) {
  const Agenda::key_type key{due, ++lastNumber_};
  plans_->agenda.emplace(key, std::move(what));
  return key;
}

void SimRunLoop::runUntil(Duration end) {
  stopped_ = false;
  deliverDescriptors();
  while (!stopped_) {
    passage_.begins();
    if (plans_->agenda.empty() || plans_->agenda.begin()->first.first > end) break;
    // Off the agenda before it happens, so that it may drop its own registration.
    const auto next = plans_->agenda.extract(plans_->agenda.begin());
    moveClock(next.key().first);
    next.mapped()();
    if (!stopped_) deliverDescriptors();
  }
}

void SimRunLoop::deliverDescriptors() {
  for (int round = 0; round < kDescriptorRounds && deliverDescriptorsOnce(); ++round) {
    if (stopped_) return;
  }
}

bool SimRunLoop::deliverDescriptorsOnce() {
  std::vector<pollfd> descriptors;
  std::vector<std::uint64_t> numbers;
  for (const auto& [number, watch] : plans_->watches) {
    descriptors.push_back({watch.descriptor, POLLIN, 0});
    numbers.push_back(number);
  }
  if (descriptors.empty() || ::poll(descriptors.data(), descriptors.size(), 0) <= 0) return false;
  for (std::size_t i = 0; i < descriptors.size(); ++i) {
    if (descriptors[i].revents == 0) continue;
    const auto watch = plans_->watches.find(numbers[i]);
    if (watch == plans_->watches.end()) continue;  // dropped by an earlier callback of this round
    const auto ready = watch->second.ready;        // survives its own removal
    ready();
    if (stopped_) break;
  }
  return true;
}

}  // namespace zorva
