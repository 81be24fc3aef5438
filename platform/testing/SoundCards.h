// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <sound/asound.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/audio/linux/SoundCardControls.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {

/// A control of a card.
struct Element {
  int interface;
  std::string name;
  int type;
  std::vector<long> values;
  long least = 0, most = 1;
};
inline Element jack(const std::string& name, bool on) {
  return {SNDRV_CTL_ELEM_IFACE_CARD, name, SNDRV_CTL_ELEM_TYPE_BOOLEAN, {on}};
}
inline Element toggle(const std::string& name, std::vector<long> on) {
  return {SNDRV_CTL_ELEM_IFACE_MIXER, name, SNDRV_CTL_ELEM_TYPE_BOOLEAN, std::move(on)};
}
inline Element volume(const std::string& name, std::vector<long> values, long least, long most) {
  return {SNDRV_CTL_ELEM_IFACE_MIXER, name,  SNDRV_CTL_ELEM_TYPE_INTEGER,
          std::move(values),          least, most};
}

/// A mock of a card's kernel interface; its events come through a pipe.
struct CardForTest {
  std::string name;
  std::vector<Element> elements;
  int version = SNDRV_CTL_VERSION;
  bool boasts = false;  ///< of more than it has
  int descriptor = -1;
  Descriptor events{};

  Descriptor open() {
    int ends[2];
    if (pipe2(ends, O_NONBLOCK | O_CLOEXEC) < 0) return {};
    events = Descriptor(ends[1]);
    return Descriptor(descriptor = ends[0]);
  }
  void ask(unsigned long request, void* argument) const {
    if (request == SNDRV_CTL_IOCTL_PVERSION) *static_cast<int*>(argument) = version;
    if (request == SNDRV_CTL_IOCTL_CARD_INFO) {
      name.copy(reinterpret_cast<char*>(static_cast<snd_ctl_card_info*>(argument)->name), 32);
    } else if (request == SNDRV_CTL_IOCTL_ELEM_LIST) {
      auto& list = *static_cast<snd_ctl_elem_list*>(argument);
      list.count = boasts ? ~0U : static_cast<unsigned>(elements.size());
      for (unsigned i = 0; i < std::min<std::size_t>(list.space, elements.size()); ++i) {
        list.pids[i] = {i + 1, elements[i].interface, 0, 0, {}, 0x41414141};
        elements[i].name.copy(reinterpret_cast<char*>(list.pids[i].name), 44);
        list.used = boasts ? ~0U : i + 1;
      }
    } else if (request == SNDRV_CTL_IOCTL_ELEM_INFO) {
      auto& info = *static_cast<snd_ctl_elem_info*>(argument);
      const Element& element = elements.at(info.id.numid - 1);
      info.type = element.type;
      info.count = boasts ? ~0U : static_cast<unsigned>(element.values.size());
      info.value.integer = {element.least, element.most, 1};
    } else if (request == SNDRV_CTL_IOCTL_ELEM_READ) {
      auto& value = *static_cast<snd_ctl_elem_value*>(argument);
      const Element& element = elements.at(value.id.numid - 1);
      std::copy(element.values.begin(), element.values.end(), value.value.integer.value);
    }
  }
  void send(std::size_t number, unsigned mask) const {
    snd_ctl_event event{SNDRV_CTL_EVENT_ELEM, {}};
    event.data.elem.id.numid = static_cast<unsigned>(number);
    event.data.elem.mask = mask;
    ASSERT_EQ(write(events.get(), &event, sizeof event), sizeof event);
  }
  void set(const std::string& control, std::vector<long> values) {
    for (std::size_t i = 0; i < elements.size(); ++i) {
      if (elements[i].name != control) continue;
      elements[i].values = values;
      send(i + 1, SNDRV_CTL_EVENT_MASK_VALUE);
    }
  }
};

/// Mock sound cards, with their device files in root/snd.
struct SoundCardsForTest {
  DirectoryForTest root;
  std::map<int, CardForTest> hardware;
  std::vector<int> opened;          ///< the cards that were opened, by number
  std::function<void()> afterOpen;  ///< once

  SoundCardCalls calls() {
    return {[this](const std::string& device) {
              opened.push_back(std::stoi(device.substr(device.rfind('C') + 1)));
              // Other cards get their permissions at the same moment.
              chmod((root / "snd/pcmC1D0p").c_str(), 0660);
              const auto card = hardware.find(opened.back());
              Descriptor descriptor = card == hardware.end() ? Descriptor() : card->second.open();
              if (afterOpen) std::exchange(afterOpen, nullptr)();
              return descriptor;
            },
            [this](int descriptor, unsigned long request, void* argument) {
              for (const auto& [number, card] : hardware) {
                if (card.descriptor == descriptor) return card.ask(request, argument), 0;
              }
              return -1;
            }};
  }
  void plug(int number, CardForTest card) {
    hardware[number] = std::move(card);
    root.write("snd/controlC" + std::to_string(number), "");
  }
};

}  // namespace zorva
