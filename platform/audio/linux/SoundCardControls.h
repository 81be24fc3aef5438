// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/audio/linux/AudioControls.h"
#include "platform/base/Descriptor.h"

struct snd_ctl_elem_id;

namespace zorva {

/// The two calls by which a card is reached, to open its device and to ask it. Tests play a card.
struct SoundCardCalls {
  /// None when it is refused.
  std::function<Descriptor(const std::string& device)> open;
  /// As ioctl(2).
  std::function<int(int descriptor, unsigned long request, void* argument)> ioctl;
  static SoundCardCalls ofKernel();
};

/// The controls of a sound card, by the kernel's own interface (<sound/asound.h>). Nothing here
/// waits. What a card says of itself is not trusted: texts may lack their end, and numbers are held
/// to what the structures have room for.
class SoundCardControls {
 public:
  /// Opens the card's device for reading, /dev/snd/controlC0, and asks for its events.
  SoundCardControls(const std::string& device, SoundCardCalls calls);

  /// Ready when events have come; -1 when the card is refused, or speaks another protocol.
  int descriptor() const { return descriptor_.get(); }

  /// "HDA Intel PCH". Nothing when the card does not say, as for all that follows.
  std::optional<std::string> cardName() const;

  /// Those that matter, with their values, in the card's order; of a card that has more than 16384
  /// controls, of those.
  std::optional<std::vector<AudioControl>> controls() const;

  /// Reads the control's values, at most 128; what was read before stands when that fails.
  bool readValues(AudioControl& control) const;

  struct Events {
    bool list = false;          ///< controls have come or gone
    std::set<unsigned> values;  ///< the numbers of those that have another value
  };
  /// What has happened since it was asked last, in at most 256 events; the rest waits. Nothing when
  /// the card has gone.
  std::optional<Events> readEvents() const;

 private:
  template <typename Argument>
  bool ask(unsigned long request, Argument& argument) const {
    return calls_.ioctl(descriptor_.get(), request, &argument) >= 0;
  }
  std::optional<AudioControl> readControl(const snd_ctl_elem_id& id) const;

  SoundCardCalls calls_;
  Descriptor descriptor_;
};

}  // namespace zorva
