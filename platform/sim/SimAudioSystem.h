#pragma once

#include "platform/AudioSystem.h"

namespace zorva {

class SimAudioSystem : public AudioSystem {
 public:
  Value attribute(const std::string&) override { return {}; }
  bool activeCategory(float&, std::optional<std::string>&) override { return false; }
  Registration observe(Change, std::function<void()>) override { return {}; }
};

}  // namespace zorva
