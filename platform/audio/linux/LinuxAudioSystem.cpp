// SPDX-License-Identifier: Apache-2.0
#include "platform/audio/linux/LinuxAudioSystem.h"

#include <charconv>
#include <filesystem>
#include <set>
#include <sys/epoll.h>
#include <utility>

namespace zorva {
namespace {

constexpr std::string_view kControlFile = "controlC";

std::set<int> cardsIn(const std::string& devices) {
  std::set<int> cards;
  std::error_code error;
  for (std::filesystem::directory_iterator each(devices, error), none; !error && each != none;
       each.increment(error)) {
    const std::string name = each->path().filename().string();
    int card = -1;
    const char* const end = name.data() + name.size();
    if (!name.starts_with(kControlFile)) continue;
    const auto read = std::from_chars(name.data() + kControlFile.size(), end, card);
    if (read.ec == std::errc() && read.ptr == end && card >= 0) cards.insert(card);
  }
  return cards;
}

}  // namespace

/// One open card.
class LinuxAudioSystem::Card {
 public:
  /// Calls back when a control has changed, and when the card has been removed.
  Card(sd_event* event, const std::string& device, const SoundCardCalls& calls,
       std::function<void()> changed)
      : controls_(device, calls), changed_(std::move(changed)) {
    sd_event_source* source = nullptr;
    if (controls_.descriptor() < 0 ||
        sd_event_add_io(event, &source, controls_.descriptor(), EPOLLIN, ready, this) < 0) {
      return;
    }
    source_.reset(source);
    auto name = controls_.cardName();
    if (!name) return;
    card_.name = std::move(*name);
    gone_ = !readControls();
  }
  Card(const Card&) = delete;
  Card& operator=(const Card&) = delete;

  bool gone() const { return gone_; }
  const AudioCard& card() const { return card_; }

 private:
  static int ready(sd_event_source*, int, std::uint32_t events, void* self) {
    static_cast<Card*>(self)->receive(events);
    return 0;
  }

  void receive(std::uint32_t ready) {
    const auto events = controls_.readEvents();
    gone_ = (ready & (EPOLLERR | EPOLLHUP)) != 0 || !events || (events->list && !readControls());
    if (gone_) {
      source_.reset();  // or it would remain ready forever
    } else if (!events->list) {
      for (AudioControl& control : card_.controls) {
        if (events->values.contains(control.number)) controls_.readValues(control);
      }
    }
    changed_();
  }

  // Returns false if the card does not list them.
  bool readControls() {
    auto controls = controls_.controls();
    if (!controls) return false;
    card_.controls = std::move(*controls);
    return true;
  }

  SoundCardControls controls_;
  std::function<void()> changed_;
  EventSource source_;  // destroyed before the descriptor is closed
  AudioCard card_;
  bool gone_ = true;  ///< or could not be opened
};

LinuxAudioSystem::LinuxAudioSystem(sd_event* event, std::string devices, std::string streams,
                                   SoundCardCalls calls)
    : event_(event),
      devices_(std::move(devices)),
      streams_(std::move(streams)),
      calls_(std::move(calls)),
      update_(event, [this] { update(); }),
      devicesWatch_(event, devices_, LinuxPathWatch::Of::Contents, [this] { devicesChanged(); }) {
  update();
}

LinuxAudioSystem::~LinuxAudioSystem() = default;

void LinuxAudioSystem::devicesChanged() {
  devicesChanged_ = true;
  update_.request();
}

void LinuxAudioSystem::followDevices() {
  const std::set<int> there = cardsIn(devices_);
  std::erase_if(cards_, [&](const auto& card) { return !there.contains(card.first); });
  std::erase_if(refused_, [&](const auto& card) { return !there.contains(card.first); });
  for (const int number : there) {
    if (cards_.contains(number)) continue;
    const std::string device = devices_ + "/" + std::string(kControlFile) + std::to_string(number);
    const auto open = [&] {
      return std::make_unique<Card>(event_, device, calls_, [this] { update_.request(); });
    };
    auto card = open();
    if (card->gone() && !refused_.contains(number)) {
      refused_[number] = std::make_unique<LinuxPathWatch>(event_, device, LinuxPathWatch::Of::Entry,
                                                          [this] { devicesChanged(); });
      card = open();  // its permissions may have been set before the watch
    }
    if (card->gone()) continue;
    cards_.emplace(number, std::move(card));
    refused_.erase(number);
  }
}

void LinuxAudioSystem::update() {
  // A removed card is not opened again until its device file has been removed, too.
  std::erase_if(cards_, [](const auto& card) { return card.second->gone(); });
  if (std::exchange(devicesChanged_, false)) followDevices();
  AudioCards cards;
  for (const auto& [number, card] : cards_) cards.emplace(number, card->card());
  const AudioFigures before = std::exchange(figures_, readAudioFigures(cards));
  const AudioFigures now = figures_;
  if (now.headphones != before.headphones) changes_.notify(Change::HeadphoneJack);
  if (now.headsetInput != before.headsetInput) changes_.notify(Change::InputDevice);
  if (now.route != before.route) changes_.notify(Change::ActiveRoute);
  if (now.volume != before.volume || now.category != before.category || now.muted != before.muted) {
    changes_.notify(Change::SystemVolume);
  }
}

Value LinuxAudioSystem::attribute(const std::string& key) {
  const auto valueOf = [](const auto& figure) { return figure ? Value(*figure) : Value(); };
  if (key == audio::kPlaying) return cards_.empty() ? Value() : Value(audioIsPlaying(streams_));
  if (key == audio::kActiveRoute) return valueOf(figures_.route);
  if (key == audio::kFullMute) return valueOf(figures_.muted);
  if (key == audio::kHeadphoneJack) return valueOf(figures_.headphones);
  if (key == audio::kHeadphoneJackHasInput) return valueOf(figures_.headsetInput);
  return {};
}

bool LinuxAudioSystem::activeCategory(float& volume, std::optional<std::string>& name) {
  if (!figures_.volume) return false;
  volume = *figures_.volume;
  name = figures_.category;
  return true;
}

Registration LinuxAudioSystem::observe(Change change, std::function<void()> changed) {
  return changes_.add([change, changed = std::move(changed)](Change reported) {
    if (reported == change) changed();
  });
}

}  // namespace zorva
