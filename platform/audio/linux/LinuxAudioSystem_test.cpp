#include "platform/audio/linux/LinuxAudioSystem.h"

#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits>
#include <sound/asound.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

struct Element {
  int interface;
  std::string name;
  int type;
  std::vector<long> values;
  long least = 0, most = 1;
};
Element jack(const std::string& name, bool on) {
  return {SNDRV_CTL_ELEM_IFACE_CARD, name, SNDRV_CTL_ELEM_TYPE_BOOLEAN, {on}};
}
Element toggle(const std::string& name, std::vector<long> on) {
  return {SNDRV_CTL_ELEM_IFACE_MIXER, name, SNDRV_CTL_ELEM_TYPE_BOOLEAN, std::move(on)};
}
Element volume(const std::string& name, std::vector<long> values, long least, long most) {
  return {SNDRV_CTL_ELEM_IFACE_MIXER, name,  SNDRV_CTL_ELEM_TYPE_INTEGER,
          std::move(values),          least, most};
}

/// A card's side of the kernel's interface; its events come through a pipe.
struct CardForTest {
  std::string name;
  std::vector<Element> elements;
  int version = SNDRV_CTL_VERSION;
  bool boasts = false;  ///< of more than it has
  int descriptor = -1;
  Descriptor events{};

  Descriptor open() {
    int ends[2];
    if (pipe2(ends, O_NONBLOCK | O_CLOEXEC) < 0) return {};
    events = Descriptor(ends[1]);
    return Descriptor(descriptor = ends[0]);
  }
  void ask(unsigned long request, void* argument) const {
    if (request == SNDRV_CTL_IOCTL_PVERSION) *static_cast<int*>(argument) = version;
    if (request == SNDRV_CTL_IOCTL_CARD_INFO) {
      name.copy(reinterpret_cast<char*>(static_cast<snd_ctl_card_info*>(argument)->name), 32);
    } else if (request == SNDRV_CTL_IOCTL_ELEM_LIST) {
      auto& list = *static_cast<snd_ctl_elem_list*>(argument);
      list.count = boasts ? ~0U : static_cast<unsigned>(elements.size());
      for (unsigned i = 0; i < std::min<std::size_t>(list.space, elements.size()); ++i) {
        list.pids[i] = {i + 1, elements[i].interface, 0, 0, {}, 0x41414141};
        elements[i].name.copy(reinterpret_cast<char*>(list.pids[i].name), 44);
        list.used = boasts ? ~0U : i + 1;
      }
    } else if (request == SNDRV_CTL_IOCTL_ELEM_INFO) {
      auto& info = *static_cast<snd_ctl_elem_info*>(argument);
      const Element& element = elements.at(info.id.numid - 1);
      info.type = element.type;
      info.count = boasts ? ~0U : static_cast<unsigned>(element.values.size());
      info.value.integer = {element.least, element.most, 1};
    } else if (request == SNDRV_CTL_IOCTL_ELEM_READ) {
      auto& value = *static_cast<snd_ctl_elem_value*>(argument);
      const Element& element = elements.at(value.id.numid - 1);
      std::copy(element.values.begin(), element.values.end(), value.value.integer.value);
    }
  }
  void send(std::size_t number, unsigned mask) const {
    snd_ctl_event event{SNDRV_CTL_EVENT_ELEM, {}};
    event.data.elem.id.numid = static_cast<unsigned>(number);
    event.data.elem.mask = mask;
    ASSERT_EQ(write(events.get(), &event, sizeof event), sizeof event);
  }
  void set(const std::string& control, std::vector<long> values) {
    for (std::size_t i = 0; i < elements.size(); ++i) {
      if (elements[i].name != control) continue;
      elements[i].values = values;
      send(i + 1, SNDRV_CTL_EVENT_MASK_VALUE);
    }
  }
};

class LinuxAudioSystemTest : public testing::Test {
 protected:
  void makeAudio() {
    SoundCardCalls calls{[this](const std::string& device) {
                           opened_.push_back(std::stoi(device.substr(device.rfind('C') + 1)));
                           // Others get their permissions in the same moment.
                           chmod((root_ / "snd/pcmC1D0p").c_str(), 0660);
                           const auto card = hardware_.find(opened_.back());
                           Descriptor opened =
                               card == hardware_.end() ? Descriptor() : card->second.open();
                           if (afterOpen_) std::exchange(afterOpen_, nullptr)();
                           return opened;
                         },
                         [this](int descriptor, unsigned long request, void* argument) {
                           for (const auto& [number, card] : hardware_) {
                             if (card.descriptor == descriptor)
                               return card.ask(request, argument), 0;
                           }
                           return -1;
                         }};
    audio_ = std::make_unique<LinuxAudioSystem>(loop_.event(), root_ / "snd", root_ / "asound",
                                                std::move(calls));
    const std::pair<AudioSystem::Change, const char*> kinds[]{
        {AudioSystem::Change::InputDevice, "input"},
        {AudioSystem::Change::HeadphoneJack, "jack"},
        {AudioSystem::Change::SystemVolume, "volume"},
        {AudioSystem::Change::ActiveRoute, "route"}};
    for (const auto& [change, word] : kinds) {
      observations_.push_back(
          audio_->observe(change, [this, word = word] { reported_ += std::string(" ") + word; }));
    }
  }
  // What was told since the last call, and how the log would show it.
  std::string now() {
    loop_.drain();
    std::string line = std::exchange(reported_, "") + ":";
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
  void plug(int number, CardForTest card) {
    hardware_[number] = std::move(card);
    root_.write("snd/controlC" + std::to_string(number), "");
  }

  DirectoryForTest root_;
  LoopForTest loop_;
  std::map<int, CardForTest> hardware_;
  std::vector<int> opened_;
  std::function<void()> afterOpen_;  // once
  std::string reported_;
  std::unique_ptr<LinuxAudioSystem> audio_;
  std::vector<Registration> observations_;
};

TEST_F(LinuxAudioSystemTest, FollowsTheControlsOfACardThatComesAndGoes) {
  makeAudio();
  EXPECT_EQ(now(), ": (null) (null) (null) (null) (null) -");
  plug(3, {"Laptop",
           {volume("Capture Volume", {9}, 0, 9),
            volume("Master Playback Volume", {20, 45}, 0, 90),
            toggle("Master Playback Switch", {1, 0}),
            toggle("Speaker Playback Switch", {1}),
            jack("Headphone Jack", false),
            jack("Mic Jack", true),
            jack("Speaker Phantom Jack", true),
            {SNDRV_CTL_ELEM_IFACE_MIXER, "Odd\nVolume", SNDRV_CTL_ELEM_TYPE_BYTES, {1}}}});
  loop_.runUntil([&] { return !reported_.empty(); });
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
  card.elements.push_back(jack("Headset Mic Jack", false));  // knows better than the other one
  card.send(card.elements.size(), SNDRV_CTL_EVENT_MASK_ADD);
  EXPECT_EQ(now(), " input: 0 Headphone 1 1 0 Master 100");
  card.elements.pop_back();
  card.send(card.elements.size() + 1, SNDRV_CTL_EVENT_MASK_REMOVE);
  EXPECT_EQ(now(), " input: 0 Headphone 1 1 1 Master 100");
  for (int more = 0; more < 300; ++more) card.send(1, SNDRV_CTL_EVENT_MASK_VALUE);
  card.set("Mic Jack", {0});  // too many events for one turn
  EXPECT_EQ(now(), " input: 0 Headphone 1 1 0 Master 100");

  root_.write("asound/card3/pcm0c/sub0/status", "state: RUNNING\n");
  root_.write("asound/card3/pcm0p/sub0/status", "closed\n");
  EXPECT_EQ(now(), ": 0 Headphone 1 1 0 Master 100");
  root_.write("asound/card3/pcm1p/sub1/status", "state: RUNNING\nowner_pid   : 1\n");
  EXPECT_EQ(now(), ": 1 Headphone 1 1 0 Master 100");

  card.events = Descriptor();
  EXPECT_EQ(now(), " jack input route volume: (null) (null) (null) (null) (null) -");
  EXPECT_EQ(opened_, std::vector<int>{3});
  unlink((root_ / "snd/controlC3").c_str());
  loop_.drain();
  plug(3, {"Other", {}});
  loop_.runUntil([&] { return !reported_.empty(); });
  EXPECT_EQ(now(), " jack input route: 1 Other (null) 0 0 -");
}

TEST_F(LinuxAudioSystemTest, TriesARefusedCardAgainWhenItsPermissionsChange) {
  root_.write("snd/controlC0", "");
  root_.write("snd/controlCx", "");
  root_.write("snd/pcmC1D0p", "");
  makeAudio();
  EXPECT_EQ(now(), ": (null) (null) (null) (null) (null) -");
  EXPECT_EQ(opened_, std::vector<int>(2, 0));  // before it is watched, and after
  plug(0, {"Phone",
           {volume("Headphone Playback Volume", {3}, 0, 10),
            volume("Speaker Playback Volume", {-30}, -40, 0), jack("Headset Jack", false)},
           SNDRV_PROTOCOL_VERSION(3, 0, 0)});  // of which nothing is known
  chmod((root_ / "snd/controlC0").c_str(), 0600);
  loop_.runUntil([&] { return opened_.size() > 2; });
  EXPECT_EQ(now(), ": (null) (null) (null) (null) (null) -");
  hardware_.at(0).version = SNDRV_CTL_VERSION;
  chmod((root_ / "snd/controlC0").c_str(), 0640);
  loop_.runUntil([&] { return !reported_.empty(); });
  EXPECT_EQ(now(), " jack input route volume: 0 Speaker (null) 0 0 Speaker 25");
  hardware_.at(0).set("Headset Jack", {1});
  EXPECT_EQ(now(), " jack input route volume: 0 Headphone (null) 1 1 Headphone 30");
}

TEST_F(LinuxAudioSystemTest, OpensACardWhosePermissionComesRightAfterTheRefusal) {
  root_.write("snd/controlC0", "");
  afterOpen_ = [this] {
    plug(0, {"Phone", {jack("Headset Jack", true)}});
    chmod((root_ / "snd/controlC0").c_str(), 0640);
  };
  makeAudio();
  EXPECT_EQ(now(), ": 0 Headphone (null) 1 1 -");
}

TEST_F(LinuxAudioSystemTest, HoldsACardToWhatItsStructuresHaveRoomFor) {
  using Long = std::numeric_limits<long>;
  plug(0, {std::string(50, 'N'),
           {jack("Headphone of a name which fills a field Jack", true)},
           SNDRV_CTL_VERSION,
           true});
  makeAudio();
  EXPECT_EQ(now(), ": 0 Headphone (null) 1 0 -");
  hardware_.at(0).elements = {
      volume("Master Playback Volume", {Long::max()}, Long::min(), Long::max())};
  hardware_.at(0).send(1, SNDRV_CTL_EVENT_MASK_ADD);
  EXPECT_EQ(now(), " jack route volume: 0 " + std::string(32, 'N') + " (null) 0 0 Master 100");
}

}  // namespace
}  // namespace zorva
