// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zorva {

/// A control of a sound card that affects playback.
struct AudioControl {
  enum class Kind {
    Jack,    ///< whether something is plugged in
    Volume,  ///< of playback
    Switch,  ///< of playback: off mutes
  };
  unsigned number = 0;  ///< the card's own number, from 1
  Kind kind = Kind::Jack;
  std::string name;          ///< without the words for the kind: "Headphone", "Master"
  std::vector<long> values;  ///< one for each channel
  long least = 0;            ///< of a volume's values
  long most = 1;
};

/// A sound card.
struct AudioCard {
  std::string name;                    ///< "HDA Intel PCH"
  std::vector<AudioControl> controls;  ///< in the card's order
};
/// The cards by number.
using AudioCards = std::map<int, AudioCard>;

/// Classifies a control by its interface (the card itself, or its mixer), whether its values are
/// boolean, and its name in the kernel ("Headphone Jack", "Master Playback Volume"). Nothing for
/// irrelevant controls, such as those of recording, and jacks without detection ("Phantom").
std::optional<AudioControl> audioControl(bool ofCard, bool yesOrNo, const std::string& name);

/// The state according to the controls of all cards; nothing if there is no card.
struct AudioFigures {
  std::optional<std::string> route;     ///< "Headphone", "Speaker" or the card's name
  std::optional<float> volume;          ///< 0 to 1
  std::optional<std::string> category;  ///< the control whose volume it is: "Master"
  std::optional<bool> muted;
  std::optional<bool> headphones;
  std::optional<bool> headsetInput;
  bool operator==(const AudioFigures&) const = default;
};
AudioFigures readAudioFigures(const AudioCards& cards);

/// Whether a playback stream of any card is running, from the files below /proc/asound.
bool audioIsPlaying(const std::string& directory);

}  // namespace zorva
