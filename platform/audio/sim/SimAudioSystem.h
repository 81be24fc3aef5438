// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "platform/audio/AudioSystem.h"
#include "platform/base/Observers.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The audio system controller: at first silent, on the speaker, with half the volume of the
/// ringtone and nothing in the headphone jack.
class SimAudioSystem : public AudioSystem {
 public:
  explicit SimAudioSystem(SimParts& parts);

  Value attribute(const std::string& key) override { return attributes_[key]; }
  bool activeCategory(float& volume, std::optional<std::string>& name) override;
  Registration observe(Change change, std::function<void()> changed) override;

  /// Nothing takes the attribute away. A new route, and what is in the jack, is announced; that
  /// a process plays or mutes is not.
  void setAttribute(const std::string& key, Value value);
  /// Announced. Nothing: the controller has no volume to report.
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
