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

}  // namespace
}  // namespace zorva
