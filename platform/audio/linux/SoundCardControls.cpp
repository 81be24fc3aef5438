// SPDX-License-Identifier: Apache-2.0
#include "platform/audio/linux/SoundCardControls.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sound/asound.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace zorva {
namespace {

// At most this many of a card's events are read at a time, so that an endless stream cannot block
// the loop.
constexpr std::size_t kMaxEventsAtOnce = 256;
// Older kernels reject a longer list; no real card comes near it.
constexpr unsigned kMaxControls = 16384;
constexpr std::size_t kMaxValues = sizeof(snd_ctl_elem_value::value.integer.value) / sizeof(long);

// The kernel's text fills its field or ends with a NUL.
template <std::size_t kSize>
std::string textOf(const unsigned char (&field)[kSize]) {
  const auto* const text = reinterpret_cast<const char*>(field);
  return {text, strnlen(text, kSize)};
}

}  // namespace

SoundCardCalls SoundCardCalls::ofKernel() {
  return {[](const std::string& device) {
            return Descriptor(::open(device.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
          },
          [](int descriptor, unsigned long request, void* argument) {
            return ::ioctl(descriptor, request, argument);
          }};
}

SoundCardControls::SoundCardControls(const std::string& device, SoundCardCalls calls)
    : calls_(std::move(calls)), descriptor_(calls_.open(device)) {
  int version = 0;
  int subscribe = 1;
  if (descriptor_ && (!ask(SNDRV_CTL_IOCTL_PVERSION, version) ||
                      SNDRV_PROTOCOL_INCOMPATIBLE(version, SNDRV_CTL_VERSION) ||
                      !ask(SNDRV_CTL_IOCTL_SUBSCRIBE_EVENTS, subscribe))) {
    descriptor_ = Descriptor();
  }
}

std::optional<std::string> SoundCardControls::cardName() const {
  snd_ctl_card_info info{};
  if (!ask(SNDRV_CTL_IOCTL_CARD_INFO, info)) return std::nullopt;
  return textOf(info.name);
}

std::optional<std::vector<AudioControl>> SoundCardControls::controls() const {
  snd_ctl_elem_list list{};  // without space for any, it returns their number
  if (!ask(SNDRV_CTL_IOCTL_ELEM_LIST, list)) return std::nullopt;
  std::vector<snd_ctl_elem_id> ids(std::min(list.count, kMaxControls));
  list.space = static_cast<unsigned>(ids.size());
  list.pids = ids.data();
  if (!ask(SNDRV_CTL_IOCTL_ELEM_LIST, list)) return std::nullopt;
  // Some may have been removed meanwhile. New ones are reported by an event.
  ids.resize(std::min<std::size_t>(list.used, ids.size()));
  std::vector<AudioControl> controls;
  for (const snd_ctl_elem_id& id : ids) {
    if (auto control = readControl(id)) controls.push_back(std::move(*control));
  }
  return controls;
}

std::optional<AudioControl> SoundCardControls::readControl(const snd_ctl_elem_id& id) const {
  const bool ofCard = id.iface == SNDRV_CTL_ELEM_IFACE_CARD;
  if (!ofCard && id.iface != SNDRV_CTL_ELEM_IFACE_MIXER) return std::nullopt;
  const std::string name = textOf(id.name);
  // Most controls can be ruled out by name, without another call.
  if (!audioControl(ofCard, true, name) && !audioControl(ofCard, false, name)) return std::nullopt;
  snd_ctl_elem_info info{};
  info.id = id;
  if (!ask(SNDRV_CTL_IOCTL_ELEM_INFO, info)) return std::nullopt;
  const bool yesOrNo = info.type == SNDRV_CTL_ELEM_TYPE_BOOLEAN;
  if (!yesOrNo && info.type != SNDRV_CTL_ELEM_TYPE_INTEGER) return std::nullopt;
  auto control = audioControl(ofCard, yesOrNo, name);
  if (!control) return std::nullopt;
  control->number = id.numid;
  control->values.resize(std::min<std::size_t>(info.count, kMaxValues));
  if (!yesOrNo) {
    control->least = info.value.integer.min;
    control->most = info.value.integer.max;
  }
  if (!readValues(*control)) return std::nullopt;
  return control;
}

bool SoundCardControls::readValues(AudioControl& control) const {
  snd_ctl_elem_value read{};
  read.id.numid = control.number;
  if (!ask(SNDRV_CTL_IOCTL_ELEM_READ, read)) return false;
  std::copy_n(std::begin(read.value.integer.value), control.values.size(), control.values.begin());
  return true;
}

std::optional<SoundCardControls::Events> SoundCardControls::readEvents() const {
  Events events;
  std::array<snd_ctl_event, kMaxEventsAtOnce> read;  // filled by the call
  const ssize_t size = ::read(descriptor_.get(), read.data(), sizeof read);
  if (size < 0 && (errno == EAGAIN || errno == EINTR)) return events;
  if (size <= 0) return std::nullopt;
  const std::size_t count = static_cast<std::size_t>(size) / sizeof(snd_ctl_event);
  for (std::size_t i = 0; i < count; ++i) {
    if (read[i].type != SNDRV_CTL_EVENT_ELEM) continue;
    const auto& [mask, id] = read[i].data.elem;
    // Removal has all bits.
    if ((mask & (SNDRV_CTL_EVENT_MASK_ADD | SNDRV_CTL_EVENT_MASK_INFO)) != 0) events.list = true;
    if ((mask & SNDRV_CTL_EVENT_MASK_VALUE) != 0) events.values.insert(id.numid);
  }
  return events;
}

}  // namespace zorva
