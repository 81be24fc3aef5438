// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "core/ZVLogger.h"
#include "platform/audio/AudioSystem.h"

namespace zorva {

/// Logs the audio state that costs power, at each snapshot and when the controller announces a new
/// input device, headphone jack, volume or route:
///
///     11/16/26 14:07:16 [Audio] active=yes; route=Headphone; volume=50.0%; output_category=Media;
///     muted=no; headphones=connected; headset_input=no;
///
/// Route and category are the controller's own texts.
class ZVAudioLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVAudioLogger> logger(const Services& services, AudioSystem& audio);

  void log() override;

  // Each is read from the controller; a missing value is false.
  bool active() const { return isTrue(audio::kPlaying); }
  std::optional<std::string> activeRoute() const;
  bool muted() const { return isTrue(audio::kFullMute); }
  bool headphonesConnected() const { return isTrue(audio::kHeadphoneJack); }
  bool headsetHasInput() const { return isTrue(audio::kHeadphoneJackHasInput); }

 private:
  ZVAudioLogger(const Services& services, AudioSystem& audio);

  bool isTrue(const char* key) const { return avSystemController_.attribute(key).boolean(); }

  AudioSystem& avSystemController_;
};

}  // namespace zorva
