#include "platform/linux/LinuxAudioSystem.h"

#include <alsa/asoundlib.h>
#include <alsa/control_external.h>
#include <cstring>
#include <deque>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "platform/linux/Loop_test.h"
#include "platform/support/Directory_test.h"

namespace zorva {
namespace {

using Lines = std::vector<std::string>;

struct Element {
  snd_ctl_elem_iface_t interface;
  std::string name;
  int type;
  std::vector<long> values;
  long least = 0, most = 1;
};
Element jack(const std::string& name, bool on) {
  return {SND_CTL_ELEM_IFACE_CARD, name, SND_CTL_ELEM_TYPE_BOOLEAN, {on}};
}
Element toggle(const std::string& name, std::vector<long> on) {
  return {SND_CTL_ELEM_IFACE_MIXER, name, SND_CTL_ELEM_TYPE_BOOLEAN, std::move(on)};
}
Element volume(const std::string& name, std::vector<long> values, long least, long most) {
  return {SND_CTL_ELEM_IFACE_MIXER, name,  SND_CTL_ELEM_TYPE_INTEGER,
          std::move(values),        least, most};
}

/// A card that the ALSA library itself plays, as it does for plug-ins: no hardware, but its calls,
/// its events and its descriptors.
class CardForTest {
 public:
  CardForTest(const char* name, std::vector<Element> elements)
      : elements_(std::move(elements)), events_(eventfd(0, EFD_NONBLOCK)) {
    callbacks_.elem_count = [](auto* ext) { return static_cast<int>(of(ext).elements_.size()); };
    callbacks_.elem_list = [](auto* ext, unsigned offset, auto* id) {
      if (offset >= of(ext).elements_.size()) return -EINVAL;
      snd_ctl_elem_id_set_interface(id, of(ext).elements_[offset].interface);
      snd_ctl_elem_id_set_name(id, of(ext).elements_[offset].name.c_str());
      return 0;
    };
    callbacks_.find_elem = [](auto* ext, const auto* id) -> snd_ctl_ext_key_t {
      const auto& all = of(ext).elements_;
      for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i].name == snd_ctl_elem_id_get_name(id)) return i;
      }
      return SND_CTL_EXT_KEY_NOT_FOUND;
    };
    callbacks_.get_attribute = [](auto* ext, auto key, int* type, auto* access, auto* count) {
      *type = of(ext).elements_[key].type;
      *access = SND_CTL_EXT_ACCESS_READWRITE;
      *count = static_cast<unsigned>(of(ext).elements_[key].values.size());
      return 0;
    };
    callbacks_.get_integer_info = [](auto* ext, auto key, long* least, long* most, long* step) {
      *least = of(ext).elements_[key].least;
      *most = of(ext).elements_[key].most;
      *step = 1;
      return 0;
    };
    callbacks_.read_integer = [](auto* ext, auto key, long* values) {
      const auto& read = of(ext).elements_[key].values;
      std::copy(read.begin(), read.end(), values);
      return 0;
    };
    callbacks_.subscribe_events = [](auto*, int) {};
    callbacks_.read_event = [](auto* ext, auto* id, unsigned* mask) {
      return of(ext).read(id, mask);
    };
    std::strcpy(ext_.name, name);
  }
  ~CardForTest() { close(events_); }

  snd_ctl_t* open() {
    ext_.version = SND_CTL_EXT_VERSION;
    ext_.poll_fd = events_;
    ext_.callback = &callbacks_;
    ext_.private_data = this;
    return snd_ctl_ext_create(&ext_, "test", SND_CTL_NONBLOCK) < 0 ? nullptr : ext_.handle;
  }
  void set(const std::string& name, std::vector<long> values) {
    for (std::size_t i = 0; i < elements_.size(); ++i) {
      if (elements_[i].name != name) continue;
      elements_[i].values = values;
      tell({static_cast<unsigned>(i + 1), SND_CTL_EVENT_MASK_VALUE});
    }
  }
  void add(Element element) {
    elements_.push_back(std::move(element));
    tell({static_cast<unsigned>(elements_.size()), SND_CTL_EVENT_MASK_ADD});
  }
  void unplug() {
    unplugged_ = true;
    eventfd_write(events_, 1);
  }

 private:
  static CardForTest& of(snd_ctl_ext_t* ext) {
    return *static_cast<CardForTest*>(ext->private_data);
  }
  void tell(std::pair<unsigned, unsigned> event) {
    queue_.push_back(event);
    eventfd_write(events_, 1);
  }
  int read(snd_ctl_elem_id_t* id, unsigned* mask) {
    if (unplugged_) return -ENODEV;
    eventfd_t ignored;
    if (queue_.empty()) return eventfd_read(events_, &ignored), -EAGAIN;
    snd_ctl_elem_id_set_numid(id, queue_.front().first);
    *mask = queue_.front().second;
    queue_.pop_front();
    return 1;
  }

  std::vector<Element> elements_;
  int events_;
  std::deque<std::pair<unsigned, unsigned>> queue_;
  bool unplugged_ = false;
  snd_ctl_ext_t ext_{};
  snd_ctl_ext_callback_t callbacks_{};
};

class LinuxAudioSystemTest : public testing::Test {
 protected:
  void makeAudio() {
    audio_ = std::make_unique<LinuxAudioSystem>(
        loop_.event(), root_ / "snd", root_ / "asound", [this](int card) -> snd_ctl_t* {
          opened_.push_back(card);
          return hardware_.contains(card) ? hardware_.at(card).open() : nullptr;
        });
    const std::pair<AudioSystem::Change, const char*> kinds[]{
        {AudioSystem::Change::InputDevice, "input"},
        {AudioSystem::Change::HeadphoneJack, "jack"},
        {AudioSystem::Change::SystemVolume, "volume"},
        {AudioSystem::Change::ActiveRoute, "route"}};
    for (const auto& [change, word] : kinds) {
      observations_.push_back(
          audio_->observe(change, [this, word = word] { told_ += std::string(" ") + word; }));
    }
  }
  // What was told since the last call, and how the log would show it.
  std::string now() {
    loop_.drain();
    std::string line = std::exchange(told_, "") + ":";
    for (const char* key : {audio::kPlaying, audio::kActiveRoute, audio::kFullMute,
                            audio::kHeadphoneJack, audio::kHeadphoneJackHasInput}) {
      line += " " + audio_->attribute(key).description();
    }
    float share = -1;
    std::optional<std::string> name;
    if (!audio_->activeCategory(share, name)) return line + " -";
    return line + " " + name.value_or("(null)") + " " +
           std::to_string(static_cast<int>(share * 100));
  }
  void plug(int card, const char* name, std::vector<Element> elements) {
    hardware_.try_emplace(card, name, std::move(elements));
    root_.write("snd/controlC" + std::to_string(card), "");
  }

  DirectoryForTest root_;
  LoopForTest loop_;
  std::map<int, CardForTest> hardware_;
  std::vector<int> opened_;
  std::string told_;
  std::unique_ptr<LinuxAudioSystem> audio_;
  std::vector<Registration> observations_;
};

TEST_F(LinuxAudioSystemTest, FollowsTheControlsOfACardThatComesAndGoes) {
  makeAudio();
  EXPECT_EQ(now(), ": (null) (null) (null) (null) (null) -");
  plug(3, "Laptop",
       {volume("Capture Volume", {9}, 0, 9),
        volume("Master Playback Volume", {20, 45}, 0, 90),
        toggle("Master Playback Switch", {1, 0}),
        toggle("Speaker Playback Switch", {1}),
        jack("Headphone Jack", false),
        jack("Mic Jack", true),
        jack("Speaker Phantom Jack", true),
        {SND_CTL_ELEM_IFACE_MIXER, "Odd\nVolume", SND_CTL_ELEM_TYPE_BYTES, {1}}});
  loop_.runUntil([&] { return !told_.empty(); });
  EXPECT_EQ(now(), " jack input route volume: 0 Speaker 0 0 0 Master 50");

  CardForTest& card = hardware_.at(3);
  card.set("Headphone Jack", {1});
  EXPECT_EQ(now(), " jack input route: 0 Headphone 0 1 1 Master 50");
  card.set("Capture Volume", {1});
  card.set("Master Playback Volume", {45, 45});
  EXPECT_EQ(now(), ": 0 Headphone 0 1 1 Master 50");
  card.set("Master Playback Volume", {90, 0});
  card.set("Master Playback Switch", {0, 0});
  EXPECT_EQ(now(), " volume: 0 Headphone 1 1 1 Master 100");
  card.add(jack("Headset Mic Jack", false));  // which knows better than the other one
  EXPECT_EQ(now(), " input: 0 Headphone 1 1 0 Master 100");

  root_.write("asound/card3/pcm0c/sub0/status", "state: RUNNING\n");
  root_.write("asound/card3/pcm0p/sub0/status", "closed\n");
  EXPECT_EQ(now(), ": 0 Headphone 1 1 0 Master 100");
  root_.write("asound/card3/pcm1p/sub1/status", "state: RUNNING\nowner_pid   : 1\n");
  EXPECT_EQ(now(), ": 1 Headphone 1 1 0 Master 100");

  card.unplug();
  EXPECT_EQ(now(), " jack input route volume: (null) (null) (null) (null) (null) -");
  EXPECT_EQ(opened_, std::vector<int>{3});
  unlink((root_ / "snd/controlC3").c_str());
  loop_.drain();
  hardware_.erase(3);
  plug(3, "Other", {});
  loop_.runUntil([&] { return !told_.empty(); });
  EXPECT_EQ(now(), " jack input route: 1 Other (null) 0 0 -");
}

TEST_F(LinuxAudioSystemTest, TriesARefusedCardAgainWhenItsPermissionsChange) {
  root_.write("snd/controlC0", "");
  root_.write("snd/controlCx", "");
  root_.write("snd/pcmC1D0p", "");
  makeAudio();
  EXPECT_EQ(now(), ": (null) (null) (null) (null) (null) -");
  EXPECT_EQ(opened_, std::vector<int>{0});
  plug(0, "Phone",
       {volume("Headphone Playback Volume", {3}, 0, 10),
        volume("Speaker Playback Volume", {-30}, -40, 0), jack("Headset Jack", false)});
  chmod((root_ / "snd/controlC0").c_str(), 0600);
  loop_.runUntil([&] { return !told_.empty(); });
  EXPECT_EQ(now(), " jack input route volume: 0 Speaker (null) 0 0 Speaker 25");
  hardware_.at(0).set("Headset Jack", {1});
  EXPECT_EQ(now(), " jack input route volume: 0 Headphone (null) 1 1 Headphone 30");
}

}  // namespace
}  // namespace zorva
