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

/// The two system calls used on a card's device. Tests replace them.
struct SoundCardCalls {
  /// Invalid if it fails.
  std::function<Descriptor(const std::string& device)> open;
  /// As ioctl(2).
  std::function<int(int descriptor, unsigned long request, void* argument)> ioctl;
  static SoundCardCalls ofKernel();
};

/// The controls of a sound card, through the kernel's own interface (<sound/asound.h>). No call
/// blocks. A card's data are not trusted: texts may be unterminated, and numbers are clamped to the
/// size of the structures.
class SoundCardControls {
 public:
  /// Opens the card's device for reading, /dev/snd/controlC0, and subscribes to its events.
  SoundCardControls(const std::string& device, SoundCardCalls calls);

  /// Readable when events have arrived; -1 if the card could not be opened, or has another protocol
  /// version.
  int descriptor() const { return descriptor_.get(); }

  /// "HDA Intel PCH". Nothing if the call fails; the same applies to the functions below.
  std::optional<std::string> cardName() const;

  /// The relevant controls among the card's first 16384, with their values, in the card's order.
  std::optional<std::vector<AudioControl>> controls() const;

  /// Reads the control's values, at most 128; if that fails, the previous values are kept.
  bool readValues(AudioControl& control) const;

  struct Events {
    bool list = false;          ///< controls have been added or removed
    std::set<unsigned> values;  ///< the numbers of those whose value has changed
  };
  /// Reads at most 256 pending events; the rest is left for the next call. Nothing if the card has
  /// been removed.
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
