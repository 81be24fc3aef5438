// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "platform/audio/AudioSystem.h"
#include "platform/base/Observers.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The audio system controller: at first nothing plays, the route is the speaker, the ringtone's
/// volume is 0.5 and the headphone jack is empty.
class SimAudioSystem : public AudioSystem {
 public:
  explicit SimAudioSystem(SimParts& parts);

  Value attribute(const std::string& key) override { return attributes_[key]; }
  bool activeCategory(float& volume, std::optional<std::string>& name) override;
  Registration observe(Change change, std::function<void()> changed) override;

  /// An empty value removes the attribute. Changes of the route and of the jack are reported;
  /// changes of playing and muting are not.
  void setAttribute(const std::string& key, Value value);
  /// Reported as a change. Empty: the controller has no volume.
  void setVolume(std::optional<float> volume);
  void setCategory(std::optional<std::string> name) { category_ = std::move(name); }

 private:
  SimFaultPoint activeCategoryFault_;
  Dictionary attributes_{{audio::kPlaying, false},
                         {audio::kActiveRoute, "Speaker"},
                         {audio::kFullMute, false},
                         {audio::kHeadphoneJack, false},
                         {audio::kHeadphoneJackHasInput, false}};
  std::optional<float> volume_ = 0.5F;
  std::optional<std::string> category_ = "Ringtone";
  Observers<Change> changes_;
};

}  // namespace zorva
