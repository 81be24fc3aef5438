// SPDX-License-Identifier: Apache-2.0
// What the audio system controller promises, on the simulated handset and with a sound card that a
// test plays.

#include <gtest/gtest.h>

#include "platform/assemble/SimHandset.h"
#include "platform/audio/linux/LinuxAudioSystem.h"
#include "platform/testing/SoundCards.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

using Change = AudioSystem::Change;
using Values = std::vector<Value>;

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
class AudioContract : public testing::Test {
 protected:
  Values attributes() {
    Values values;
    for (const char* key : {audio::kPlaying, audio::kFullMute, audio::kHeadphoneJack,
                            audio::kHeadphoneJackHasInput, audio::kActiveRoute, "another"}) {
      values.push_back(audio.attribute(key));
    }
    return values;
  }
  World world;
  AudioSystem& audio = world.audio;
};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(AudioContract, Worlds);

TYPED_TEST(AudioContract, AttributesHaveTheirTypesAndAreNothingWithoutSound) {
  EXPECT_EQ(this->attributes(), Values({false, false, false, false, "Speaker", {}}));
  this->world.plugHeadset(true);
  this->world.mute();
  this->world.play();
  this->world.deliver();
  EXPECT_EQ(this->attributes(), Values({true, true, true, true, "Headphone", {}}));
  float volume = -1;
  std::optional<std::string> name;
  EXPECT_TRUE(this->audio.activeCategory(volume, name));
  EXPECT_FLOAT_EQ(volume, 0.5);
  EXPECT_TRUE(name && !name->empty());

  this->world.removeSound();
  this->world.deliver();
  EXPECT_EQ(this->attributes(), Values(6));
  EXPECT_FALSE(this->audio.activeCategory(volume, name));
}

TYPED_TEST(AudioContract, ObserversAreCalledForTheirKindOfChangeUntilDropped) {
  Values jack, input, route;
  std::vector<int> volumes;
  const auto observe = [this](Change change, const char* key, Values& into) {
    return this->audio.observe(change,
                               [this, key, &into] { into.push_back(this->audio.attribute(key)); });
  };
  const auto jacks = observe(Change::HeadphoneJack, audio::kHeadphoneJack, jack);
  const auto inputs = observe(Change::InputDevice, audio::kHeadphoneJackHasInput, input);
  Registration once, other = observe(Change::ActiveRoute, audio::kActiveRoute, route);
  once = this->audio.observe(Change::HeadphoneJack, [&] {
    once.reset();
    other.reset();
  });
  const auto volume = this->audio.observe(Change::SystemVolume, [&] {
    float share = -1;
    std::optional<std::string> name;
    EXPECT_TRUE(this->audio.activeCategory(share, name));
    volumes.push_back(static_cast<int>(share * 100));
  });
  this->world.setVolume(25);
  this->world.deliver();
  EXPECT_EQ(volumes, std::vector<int>{25});
  EXPECT_EQ(jack.size() + input.size() + route.size(), 0u);
  const auto routes = observe(Change::ActiveRoute, audio::kActiveRoute, route);
  for (const bool in : {true, false}) {
    this->world.plugHeadset(in);
    this->world.deliver();
  }
  EXPECT_EQ(jack, Values({true, false}));
  EXPECT_EQ(input, Values({true, false}));
  EXPECT_EQ(route, Values({"Headphone", "Speaker"}));
  EXPECT_EQ(volumes, std::vector<int>{25});
}

}  // namespace
}  // namespace zorva
