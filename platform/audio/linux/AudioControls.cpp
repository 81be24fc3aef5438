// SPDX-License-Identifier: Apache-2.0
#include "platform/audio/linux/AudioControls.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace zorva {
namespace {

namespace fs = std::filesystem;
using Kind = AudioControl::Kind;

bool has(std::string_view text, std::string_view word) {
  return text.find(word) != text.npos;
}

bool takeEnd(std::string& name, std::string_view end) {
  if (!name.ends_with(end) || name.size() == end.size()) return false;
  name.resize(name.size() - end.size());
  return true;
}

const AudioControl* find(const AudioCard& card, Kind kind, std::string_view name) {
  const auto found =
      std::find_if(card.controls.begin(), card.controls.end(), [&](const AudioControl& control) {
        return control.kind == kind && control.name == name && !control.values.empty();
      });
  return found == card.controls.end() ? nullptr : &*found;
}

bool isOn(const AudioControl& control) {
  return std::any_of(control.values.begin(), control.values.end(), [](long on) { return on != 0; });
}

struct Jacks {
  bool headphones = false;
  bool headsetInput = false;
};

// A headphone socket may have a jack control of its own for a headset's microphone. If there is
// none, the jack of the separate microphone socket is used.
Jacks readJacks(const AudioCards& cards) {
  Jacks jacks;
  bool detectsHeadsets = false;
  bool microphone = false;
  for (const auto& [number, card] : cards) {
    for (const AudioControl& jack : card.controls) {
      if (jack.kind != Kind::Jack) continue;
      const bool headset = has(jack.name, "Headset");
      const bool headsetMicrophone = headset && has(jack.name, "Mic");
      detectsHeadsets = detectsHeadsets || headset;
      if (!isOn(jack)) continue;
      // "Headphone Mic" is a socket for either, most often used for headphones.
      if (has(jack.name, "Headphone") || (headset && !headsetMicrophone)) jacks.headphones = true;
      if (headset) jacks.headsetInput = true;
      if (jack.name == "Mic") microphone = true;
    }
  }
  jacks.headsetInput = jacks.headphones && (jacks.headsetInput || (!detectsHeadsets && microphone));
  return jacks;
}

// The volume of all output, or the closest to that.
const AudioControl* mainVolume(const AudioCard& card, bool headphones) {
  const std::array<const char*, 9> names{"Master",
                                         headphones ? "Headphone" : "Speaker",
                                         headphones ? "Speaker" : "Headphone",
                                         "Headset",
                                         "PCM",
                                         "Front",
                                         "Line Out",
                                         "Digital",
                                         "DAC"};
  for (const char* name : names) {
    const AudioControl* volume = find(card, Kind::Volume, name);
    if (volume != nullptr && volume->most > volume->least) return volume;
  }
  return nullptr;
}

// The loudest channel's position in the control's range.
float shareOf(const AudioControl& volume) {
  const long value = std::clamp(*std::max_element(volume.values.begin(), volume.values.end()),
                                volume.least, volume.most);
  // The width of a card's invalid range may overflow a long.
  const auto least = static_cast<double>(volume.least);
  return static_cast<float>((static_cast<double>(value) - least) /
                            (static_cast<double>(volume.most) - least));
}

std::vector<fs::path> entriesOf(const fs::path& directory, std::string_view start,
                                std::string_view end = "") {
  std::vector<fs::path> entries;
  std::error_code error;
  for (fs::directory_iterator each(directory, error), none; !error && each != none;
       each.increment(error)) {
    const std::string name = each->path().filename().string();
    if (name.starts_with(start) && name.ends_with(end)) entries.push_back(each->path());
  }
  return entries;
}

}  // namespace

std::optional<AudioControl> audioControl(bool ofCard, bool yesOrNo, const std::string& name) {
  AudioControl control;
  control.name = name;
  if (ofCard) {
    if (!yesOrNo || !takeEnd(control.name, " Jack") || has(name, "Phantom")) return std::nullopt;
    return control;
  }
  control.kind = yesOrNo ? Kind::Switch : Kind::Volume;
  if (!takeEnd(control.name, yesOrNo ? " Switch" : " Volume")) return std::nullopt;
  takeEnd(control.name, " Playback");
  if (has(name, "Capture") || has(name, "Mic")) return std::nullopt;
  return control;
}

AudioFigures readAudioFigures(const AudioCards& cards) {
  AudioFigures figures;
  if (cards.empty()) return figures;
  const auto [headphones, headsetInput] = readJacks(cards);
  figures.headphones = headphones;
  figures.headsetInput = headsetInput;
  // The first card that has a volume; a graphics card, which is often the first, has none.
  const AudioCard* card = &cards.begin()->second;
  const AudioControl* volume = nullptr;
  for (auto each = cards.begin(); each != cards.end() && volume == nullptr; ++each) {
    volume = mainVolume(each->second, headphones);
    if (volume != nullptr) card = &each->second;
  }
  const bool speaker = std::any_of(
      card->controls.begin(), card->controls.end(),
      [](const AudioControl& c) { return c.kind != Kind::Jack && has(c.name, "Speaker"); });
  figures.route = headphones ? "Headphone" : speaker ? "Speaker" : card->name;
  if (volume == nullptr) return figures;
  figures.volume = shareOf(*volume);
  figures.category = volume->name;
  const AudioControl* const toggle = find(*card, Kind::Switch, volume->name);
  if (toggle != nullptr) figures.muted = !isOn(*toggle);
  return figures;
}

bool audioIsPlaying(const std::string& directory) {
  for (const fs::path& card : entriesOf(directory, "card")) {
    for (const fs::path& stream : entriesOf(card, "pcm", "p")) {
      for (const fs::path& substream : entriesOf(stream, "sub")) {
        std::ifstream status(substream / "status");
        std::string line;
        if (std::getline(status, line) && line == "state: RUNNING") return true;
      }
    }
  }
  return false;
}

}  // namespace zorva
