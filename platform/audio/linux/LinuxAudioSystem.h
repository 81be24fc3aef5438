// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <systemd/sd-event.h>

#include "platform/audio/AudioSystem.h"
#include "platform/audio/linux/AudioControls.h"
#include "platform/audio/linux/SoundCardControls.h"
#include "platform/base/Observers.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/kit/loop/LinuxPathWatch.h"

namespace zorva {

/// The audio system controller is the kernel's sound cards (docs/linux-bluetooth-audio.md). Their
/// controls are followed by their events, and the cards by their device files: they may come and
/// go. Whether a process plays has no event, and is read when it is asked for.
class LinuxAudioSystem : public AudioSystem {
 public:
  /// Follows the cards that are there at once. The directories are those of the device files and of
  /// the streams' states.
  explicit LinuxAudioSystem(sd_event* event, std::string devices = "/dev/snd",
                            std::string streams = "/proc/asound",
                            SoundCardCalls calls = SoundCardCalls::ofKernel());
  LinuxAudioSystem(const LinuxAudioSystem&) = delete;
  LinuxAudioSystem& operator=(const LinuxAudioSystem&) = delete;
  ~LinuxAudioSystem() override;

  Value attribute(const std::string& key) override;
  bool activeCategory(float& volume, std::optional<std::string>& name) override;
  Registration observe(Change change, std::function<void()> changed) override;

 private:
  class Card;

  void devicesChanged();
  void followDevices();
  void update();

  sd_event* event_;
  std::string devices_;
  std::string streams_;
  SoundCardCalls calls_;
  CoalescedCall update_;
  LinuxPathWatch devicesWatch_;
  bool devicesChanged_ = true;  ///< since they were read
  std::map<int, std::unique_ptr<Card>> cards_;
  /// Cards that cannot be opened, or not yet: a device file gets its permissions after its name.
  std::map<int, std::unique_ptr<LinuxPathWatch>> refused_;
  AudioFigures figures_;
  Observers<Change> changes_;
};

}  // namespace zorva
