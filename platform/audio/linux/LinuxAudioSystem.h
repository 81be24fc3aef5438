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

/// The audio system controller represents the kernel's sound cards (docs/linux-bluetooth-audio.md).
/// Events report changes of their controls, and the device directory is watched for cards that
/// appear or disappear. There is no event for whether a process plays; that is read on request.
class LinuxAudioSystem : public AudioSystem {
 public:
  /// Opens the present cards immediately. The directories are those of the device files and of the
  /// streams' states.
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
  bool devicesChanged_ = true;  ///< since they were last read
  std::map<int, std::unique_ptr<Card>> cards_;
  /// Cards that cannot be opened, or not yet: a device file is created before its permissions are
  /// set.
  std::map<int, std::unique_ptr<LinuxPathWatch>> refused_;
  AudioFigures figures_;
  Observers<Change> changes_;
};

}  // namespace zorva
