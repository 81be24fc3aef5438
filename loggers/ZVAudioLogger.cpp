// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVAudioLogger.h"

#include "platform/base/Text.h"

namespace zorva {

std::unique_ptr<ZVAudioLogger> ZVAudioLogger::logger(const Services& services, AudioSystem& audio) {
  return std::unique_ptr<ZVAudioLogger>(new ZVAudioLogger(services, audio));
}

ZVAudioLogger::ZVAudioLogger(const Services& services, AudioSystem& audio)
    : ZVLogger(services), avSystemController_(audio) {
  using Change = AudioSystem::Change;
  for (const Change change :
       {Change::InputDevice, Change::HeadphoneJack, Change::SystemVolume, Change::ActiveRoute}) {
    keep(audio.observe(change, [this] { logIfEnabled(); }));
  }
}

std::optional<std::string> ZVAudioLogger::activeRoute() const {
  const Value route = avSystemController_.attribute(audio::kActiveRoute);
  if (route.isNothing()) return std::nullopt;
  return route.description();
}

void ZVAudioLogger::log() {
  std::string body = formatText(" active=%s;", yesOrNo(active()));
  body += formatText(" route=%s;", safeText(textOrNull(activeRoute())).c_str());
  float volume = -1.0F;
  std::optional<std::string> name;
  if (avSystemController_.activeCategory(volume, name)) {
    body += formatText(" volume=%3.1f%%;", double{volume} * 100.0);
    body += formatText(" output_category=%s;", safeText(textOrNull(name)).c_str());
  } else {
    body += " volume=<unknown>; output_category=<unknown>;";
  }
  body += formatText(" muted=%s;", yesOrNo(muted()));
  body += formatText(" headphones=%s;", headphonesConnected() ? "connected" : "disconnected");
  body += formatText(" headset_input=%s;", yesOrNo(headsetHasInput()));
  logEntryWithBody("Audio", body);
}

}  // namespace zorva
