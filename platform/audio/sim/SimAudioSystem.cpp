// SPDX-License-Identifier: Apache-2.0
#include "platform/audio/sim/SimAudioSystem.h"

#include <utility>

namespace zorva {

SimAudioSystem::SimAudioSystem(SimParts& parts)
    : activeCategoryFault_(parts.faults, "audio.activeCategory") {
  const auto attributeReader = [this](const char* key, bool isText) {
    return [this, key, isText](const ScenarioNode& node) -> ScenarioAction {
      Value value;
      if (!node.isNothing()) value = isText ? Value(node.text()) : Value(node.boolean());
      return [this, key, value] { setAttribute(key, value); };
    };
  };
  const auto readVolume = [this](const ScenarioNode& node) -> ScenarioAction {
    std::optional<float> volume;
    if (!node.isNothing()) volume = static_cast<float>(node.number(0.0, 1.0));
    return [this, volume] { setVolume(volume); };
  };
  const auto readCategory = [this](const ScenarioNode& node) -> ScenarioAction {
    std::optional<std::string> name;
    if (!node.isNothing()) name = node.text();
    return [this, name] { setCategory(name); };
  };
  parts.sections.addBoth("audio", [=](const ScenarioNode& node) {
    return node.actions({{"playing", attributeReader(audio::kPlaying, false)},
                         {"muted", attributeReader(audio::kFullMute, false)},
                         {"category", readCategory},
                         {"volume", readVolume},
                         {"headphones", attributeReader(audio::kHeadphoneJack, false)},
                         {"headset_input", attributeReader(audio::kHeadphoneJackHasInput, false)},
                         {"route", attributeReader(audio::kActiveRoute, true)}});
  });
}

bool SimAudioSystem::activeCategory(float& volume, std::optional<std::string>& name) {
  if (activeCategoryFault_.strikes() || !volume_) return false;
  volume = *volume_;
  name = category_;
  return true;
}

Registration SimAudioSystem::observe(Change change, std::function<void()> changed) {
  return changes_.add([change, changed = std::move(changed)](Change reported) {
    if (reported == change) changed();
  });
}

void SimAudioSystem::setAttribute(const std::string& key, Value value) {
  attributes_.set(key, std::move(value));
  if (key == audio::kActiveRoute) changes_.notify(Change::ActiveRoute);
  if (key == audio::kHeadphoneJack) changes_.notify(Change::HeadphoneJack);
  if (key == audio::kHeadphoneJackHasInput) changes_.notify(Change::InputDevice);
}

void SimAudioSystem::setVolume(std::optional<float> volume) {
  volume_ = volume;
  changes_.notify(Change::SystemVolume);
}

}  // namespace zorva
