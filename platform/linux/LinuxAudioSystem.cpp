#include "platform/linux/LinuxAudioSystem.h"

#include <algorithm>
#include <alsa/asoundlib.h>
#include <charconv>
#include <filesystem>
#include <poll.h>
#include <set>
#include <sys/epoll.h>
#include <utility>
#include <vector>

namespace zorva {
namespace {

constexpr std::string_view kControlFile = "controlC";
// A card's events are taken in turns, so that one that never ends cannot hold up the loop.
constexpr int kMostEventsAtOnce = 256;
constexpr unsigned kMostChannels = 128;  // of the library's value

template <typename Object, void (*kFree)(Object*)>
struct Freed {
  void operator()(Object* object) const { kFree(object); }
};
template <typename Object, void (*kFree)(Object*)>
using Owned = std::unique_ptr<Object, Freed<Object, kFree>>;

// Each of the library's records is made by a function of its own.
template <typename Object, void (*kFree)(Object*)>
Owned<Object, kFree> make(int (*allocate)(Object**)) {
  Object* object = nullptr;
  allocate(&object);
  return Owned<Object, kFree>(object);
}

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

// The library's own writes to standard error.
void writeNothing(const char*, int, const char*, int, const char*, ...) {}

}  // namespace

/// One card that is open.
class LinuxAudioSystem::Card {
 public:
  /// Calls back when a control has changed, and when the card has gone.
  Card(sd_event* event, snd_ctl_t* control, std::function<void()> changed)
      : control_(control), changed_(std::move(changed)) {
    snd_ctl_nonblock(control, 1);
    if (snd_ctl_subscribe_events(control, 1) < 0) return;
    const auto info = make<snd_ctl_card_info_t, snd_ctl_card_info_free>(snd_ctl_card_info_malloc);
    if (snd_ctl_card_info(control, info.get()) < 0) return;
    card_.name = snd_ctl_card_info_get_name(info.get());
    std::vector<pollfd> descriptors(
        static_cast<std::size_t>(std::max(0, snd_ctl_poll_descriptors_count(control))));
    snd_ctl_poll_descriptors(control, descriptors.data(),
                             static_cast<unsigned>(descriptors.size()));
    for (const pollfd& descriptor : descriptors) {
      sd_event_source* source = nullptr;
      if (sd_event_add_io(event, &source, descriptor.fd, EPOLLIN, ready, this) < 0) return;
      sources_.emplace_back(source);
    }
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

  void receive(std::uint32_t events) {
    const auto event = make<snd_ctl_event_t, snd_ctl_event_free>(snd_ctl_event_malloc);
    bool others = false;  // controls have come or gone
    int result = 0;
    for (int count = 0; count < kMostEventsAtOnce; ++count) {
      result = snd_ctl_read(control_.get(), event.get());
      if (result <= 0) break;
      if (snd_ctl_event_get_type(event.get()) != SND_CTL_EVENT_ELEM) continue;
      const unsigned mask = snd_ctl_event_elem_get_mask(event.get());
      // Removal has all bits.
      others = others || mask == SND_CTL_EVENT_MASK_REMOVE ||
               (mask & (SND_CTL_EVENT_MASK_ADD | SND_CTL_EVENT_MASK_INFO)) != 0;
      if (others || (mask & SND_CTL_EVENT_MASK_VALUE) == 0) continue;
      const unsigned number = snd_ctl_event_elem_get_numid(event.get());
      for (AudioControl& control : card_.controls) {
        if (control.number == number) readValues(control);
      }
    }
    gone_ = (result < 0 && result != -EAGAIN && result != -EINTR) ||
            (events & (EPOLLERR | EPOLLHUP)) != 0 || (others && !readControls());
    if (gone_) sources_.clear();  // or they would be ready for ever
    changed_();
  }

  // False when the card does not tell them.
  bool readControls() {
    card_.controls.clear();
    const auto list = make<snd_ctl_elem_list_t, snd_ctl_elem_list_free>(snd_ctl_elem_list_malloc);
    if (snd_ctl_elem_list(control_.get(), list.get()) < 0) return false;
    const unsigned count = snd_ctl_elem_list_get_count(list.get());
    if (snd_ctl_elem_list_alloc_space(list.get(), count) < 0) return false;
    const bool listed = snd_ctl_elem_list(control_.get(), list.get()) >= 0;
    const unsigned used = listed ? snd_ctl_elem_list_get_used(list.get()) : 0;
    for (unsigned i = 0; i < used; ++i) readControl(*list, i);
    snd_ctl_elem_list_free_space(list.get());
    return listed;
  }

  void readControl(const snd_ctl_elem_list_t& list, unsigned index) {
    const snd_ctl_elem_iface_t interface = snd_ctl_elem_list_get_interface(&list, index);
    const bool ofCard = interface == SND_CTL_ELEM_IFACE_CARD;
    if (!ofCard && interface != SND_CTL_ELEM_IFACE_MIXER) return;
    const auto id = make<snd_ctl_elem_id_t, snd_ctl_elem_id_free>(snd_ctl_elem_id_malloc);
    snd_ctl_elem_list_get_id(&list, index, id.get());
    const char* const name = snd_ctl_elem_id_get_name(id.get());
    // Most controls are told apart by their names, without another call.
    if (!audioControl(ofCard, true, name) && !audioControl(ofCard, false, name)) return;
    const auto info = make<snd_ctl_elem_info_t, snd_ctl_elem_info_free>(snd_ctl_elem_info_malloc);
    snd_ctl_elem_info_set_id(info.get(), id.get());
    if (snd_ctl_elem_info(control_.get(), info.get()) < 0) return;
    const snd_ctl_elem_type_t type = snd_ctl_elem_info_get_type(info.get());
    const bool yesOrNo = type == SND_CTL_ELEM_TYPE_BOOLEAN;
    if (!yesOrNo && type != SND_CTL_ELEM_TYPE_INTEGER) return;
    auto control = audioControl(ofCard, yesOrNo, name);
    if (!control) return;
    control->number = snd_ctl_elem_list_get_numid(&list, index);
    control->values.resize(std::min(snd_ctl_elem_info_get_count(info.get()), kMostChannels));
    if (!yesOrNo) {
      control->least = snd_ctl_elem_info_get_min(info.get());
      control->most = snd_ctl_elem_info_get_max(info.get());
    }
    if (readValues(*control)) card_.controls.push_back(std::move(*control));
  }

  // What was read before stands when that fails.
  bool readValues(AudioControl& control) {
    const auto value =
        make<snd_ctl_elem_value_t, snd_ctl_elem_value_free>(snd_ctl_elem_value_malloc);
    snd_ctl_elem_value_set_numid(value.get(), control.number);
    if (snd_ctl_elem_read(control_.get(), value.get()) < 0) return false;
    for (unsigned i = 0; i < control.values.size(); ++i) {
      control.values[i] = control.kind == AudioControl::Kind::Volume
                              ? snd_ctl_elem_value_get_integer(value.get(), i)
                              : snd_ctl_elem_value_get_boolean(value.get(), i);
    }
    return true;
  }

  struct Close {
    void operator()(snd_ctl_t* control) const { snd_ctl_close(control); }
  };
  std::unique_ptr<snd_ctl_t, Close> control_;
  std::function<void()> changed_;
  std::vector<EventSource> sources_;  // before the descriptors are closed
  AudioCard card_;
  bool gone_ = true;  ///< or never was there
};

_snd_ctl* LinuxAudioSystem::openCard(int card) {
  const std::string name = "hw:" + std::to_string(card);
  snd_ctl_t* control = nullptr;
  snd_lib_error_set_handler(writeNothing);
  return snd_ctl_open(&control, name.c_str(), SND_CTL_NONBLOCK | SND_CTL_READONLY) < 0 ? nullptr
                                                                                       : control;
}

LinuxAudioSystem::LinuxAudioSystem(sd_event* event, std::string devices, std::string streams,
                                   Opener open)
    : event_(event),
      devices_(std::move(devices)),
      streams_(std::move(streams)),
      open_(std::move(open)),
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
    if (snd_ctl_t* const control = open_(number)) {
      auto card = std::make_unique<Card>(event_, control, [this] { update_.request(); });
      if (!card->gone()) {
        cards_.emplace(number, std::move(card));
        refused_.erase(number);
        continue;
      }
    }
    if (refused_.contains(number)) continue;
    refused_[number] = std::make_unique<LinuxPathWatch>(
        event_, devices_ + "/" + std::string(kControlFile) + std::to_string(number),
        LinuxPathWatch::Of::Entry, [this] { devicesChanged(); });
  }
}

void LinuxAudioSystem::update() {
  // One that has gone is not tried again before its device file has, too.
  std::erase_if(cards_, [](const auto& card) { return card.second->gone(); });
  if (std::exchange(devicesChanged_, false)) followDevices();
  AudioCards cards;
  for (const auto& [number, card] : cards_) cards.emplace(number, card->card());
  const AudioFigures before = std::exchange(figures_, readAudioFigures(cards));
  const AudioFigures now = figures_;
  if (now.headphones != before.headphones) changes_.tell(Change::HeadphoneJack);
  if (now.headsetInput != before.headsetInput) changes_.tell(Change::InputDevice);
  if (now.route != before.route) changes_.tell(Change::ActiveRoute);
  if (now.volume != before.volume || now.category != before.category || now.muted != before.muted) {
    changes_.tell(Change::SystemVolume);
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
  return changes_.add([change, changed = std::move(changed)](Change told) {
    if (told == change) changed();
  });
}

}  // namespace zorva
