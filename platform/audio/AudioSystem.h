// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/base/Registration.h"
#include "platform/base/Value.h"

namespace zorva {

/// Attributes of the audio system controller.
namespace audio {
inline constexpr const char* kPlaying = "somebody-is-playing";                     ///< boolean
inline constexpr const char* kActiveRoute = "active-audio-route";                  ///< text
inline constexpr const char* kFullMute = "full-mute";                              ///< boolean
inline constexpr const char* kHeadphoneJack = "headphone-jack-connected";          ///< boolean
inline constexpr const char* kHeadphoneJackHasInput = "headphone-jack-has-input";  ///< boolean
}  // namespace audio

/// The shared audio system controller.
class AudioSystem {
 public:
  virtual ~AudioSystem() = default;

  /// The value of one of the attributes above, or nothing.
  virtual Value attribute(const std::string& key) = 0;
  /// The active category's volume, from 0 to 1, and its name. False if the controller cannot report
  /// it.
  virtual bool activeCategory(float& volume, std::optional<std::string>& name) = 0;

  enum class Change { InputDevice, HeadphoneJack, SystemVolume, ActiveRoute };
  /// Calls back, on the run loop, for every change of that kind that the controller reports.
  virtual Registration observe(Change change, std::function<void()> changed) = 0;
};

}  // namespace zorva
