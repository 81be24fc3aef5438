// SPDX-License-Identifier: Apache-2.0
// What the audio system controller promises, on the simulated handset and with a sound card that a
// test plays.

#include <gtest/gtest.h>
#include <limits>

#include "platform/assemble/SimHandset.h"
#include "platform/audio/linux/LinuxAudioSystem.h"
#include "platform/testing/SoundCards.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

using Change = AudioSystem::Change;

// Each world is silent at first, at half its volume, with an empty headphone jack.
struct SimWorld {
  SimHandset handset;
  SimAudioSystem& audio = handset.audio();
  void plugHeadset(bool in) {
    audio.setAttribute(audio::kHeadphoneJack, in);
    audio.setAttribute(audio::kHeadphoneJackHasInput, in);
    audio.setAttribute(audio::kActiveRoute, in ? "Headphone" : "Speaker");
  }
  void setVolume(int percent) { audio.setVolume(static_cast<float>(percent) / 100); }
  void mute() { audio.setAttribute(audio::kFullMute, true); }
  void play() { audio.setAttribute(audio::kPlaying, true); }
  void removeSound() {
    for (const char* key : {audio::kPlaying, audio::kActiveRoute, audio::kFullMute,
                            audio::kHeadphoneJack, audio::kHeadphoneJackHasInput}) {
      audio.setAttribute(key, {});
    }
    audio.setVolume(std::nullopt);
  }
  void deliver() {}
};
struct LinuxWorld {
  struct Card : SoundCardsForTest {
    Card() {
      plug(0, {"Card",
               {volume("Master Playback Volume", {50}, 0, 100),
                toggle("Master Playback Switch", {1}), toggle("Speaker Playback Switch", {1}),
                jack("Headphone Jack", false), jack("Headset Mic Jack", false)}});
    }
  };
  CardForTest& card() { return cards.hardware.at(0); }
  void plugHeadset(bool in) {
    card().set("Headset Mic Jack", {in});
    card().set("Headphone Jack", {in});
  }
  void setVolume(int percent) { card().set("Master Playback Volume", {percent}); }
  void mute() { card().set("Master Playback Switch", {0}); }
  void play() { cards.root.write("asound/card0/pcm0p/sub0/status", "state: RUNNING\n"); }
  void removeSound() { card().events = Descriptor(); }
  void deliver() { loop.drain(); }

  Card cards;
  LoopForTest loop;
  LinuxAudioSystem audio{loop.event(), cards.root / "snd", cards.root / "asound", cards.calls()};
};

template <typename World>
class AudioContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(AudioContract, Worlds);

TYPED_TEST(AudioContract, AttributesAreAsOfNowAndChangesCallTheirObserversUntilDropped) {
  TypeParam world;
  std::string called;
  // Who was called since the last time, then what plays, is muted, plugged in, active, and how
  // loud.
  const auto now = [&] {
    world.deliver();
    std::string all = std::exchange(called, "") + ":";
    for (const char* key : {audio::kPlaying, audio::kFullMute, audio::kHeadphoneJack,
                            audio::kHeadphoneJackHasInput, audio::kActiveRoute, "another"}) {
      all += " " + world.audio.attribute(key).description();
    }
    float volume = -1;
    std::optional<std::string> name;
    if (!world.audio.activeCategory(volume, name)) return all + " -";
    EXPECT_TRUE(name && !name->empty());
    return all + " " + std::to_string(static_cast<int>(volume * 100));
  };
  const auto observe = [&](Change change, const char* mark) {
    return world.audio.observe(change, [&called, mark] { called += mark; });
  };
  EXPECT_EQ(now(), ": 0 0 0 0 Speaker (null) 50");
  world.mute();
  world.play();
  EXPECT_EQ(now(), ": 1 1 0 0 Speaker (null) 50");
  const auto jack = observe(Change::HeadphoneJack, "jack ");
  const auto volume = observe(Change::SystemVolume, "volume ");
  Registration own, route = observe(Change::ActiveRoute, "dropped ");
  own = world.audio.observe(Change::HeadphoneJack, [&] {
    own.reset();
    route.reset();
  });
  world.setVolume(25);
  EXPECT_EQ(now(), "volume : 1 1 0 0 Speaker (null) 25");
  world.plugHeadset(true);
  EXPECT_EQ(now(), "jack : 1 1 1 1 Headphone (null) 25");
  const auto input = observe(Change::InputDevice, "input ");
  world.plugHeadset(false);
  const std::string unplugged = now();  // the two are reported in either order
  EXPECT_TRUE(unplugged.find("jack ") < unplugged.npos &&
              unplugged.find("input ") < unplugged.npos);
  EXPECT_TRUE(unplugged.ends_with(": 1 1 0 0 Speaker (null) 25"));
  world.removeSound();
  EXPECT_TRUE(now().ends_with(": (null) (null) (null) (null) (null) (null) -"));
}

class LinuxAudioSystemTest : public testing::Test {
 protected:
  void makeAudio() {
    audio_ = std::make_unique<LinuxAudioSystem>(loop_.event(), root_ / "snd", root_ / "asound",
                                                cards_.calls());
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
  // What was reported since the last call, and how the log would show it.
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

  SoundCardsForTest cards_;
  DirectoryForTest& root_ = cards_.root;
  std::map<int, CardForTest>& hardware_ = cards_.hardware;
  std::vector<int>& opened_ = cards_.opened;
  LoopForTest loop_;
  std::string reported_;
  std::unique_ptr<LinuxAudioSystem> audio_;
  std::vector<Registration> observations_;
};

TEST_F(LinuxAudioSystemTest, FollowsTheControlsOfACardThatComesAndGoes) {
  makeAudio();
  EXPECT_EQ(now(), ": (null) (null) (null) (null) (null) -");
  cards_.plug(3, {"Laptop",
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
  card.set("Capture Volume", {1});
  card.set("Master Playback Volume", {45, 45});
  EXPECT_EQ(now(), " jack input route: 0 Headphone 0 1 1 Master 50");
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
  cards_.plug(3, {"Other", {}});
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
  cards_.plug(0, {"Phone",
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
  cards_.afterOpen = [this] {
    cards_.plug(0, {"Phone", {jack("Headset Jack", true)}});
    chmod((root_ / "snd/controlC0").c_str(), 0640);
  };
  makeAudio();
  EXPECT_EQ(now(), ": 0 Headphone (null) 1 1 -");
}

TEST_F(LinuxAudioSystemTest, HoldsACardToWhatItsStructuresHaveRoomFor) {
  using Long = std::numeric_limits<long>;
  cards_.plug(0, {std::string(50, 'N'),
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
