// SPDX-License-Identifier: Apache-2.0
#include "platform/telephony/linux/LinuxTelephony.h"

#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

struct Switches {
  int all = 0;
  int off = 0;
  bool allOff() const { return all > 0 && off == all; }
};

}  // namespace

std::int32_t LinuxTelephony::currentCallCount() {
  return static_cast<std::int32_t>(modem().calls.size());
}

std::optional<std::vector<Telephony::Call>> LinuxTelephony::copyCurrentCalls() {
  if (modem().path.empty()) return std::nullopt;
  return modem().calls;
}

void LinuxTelephony::signalStrength(std::int32_t& raw, std::int32_t& graded, std::int32_t& bars) {
  if (modem().signal) raw = *modem().signal;
  if (!modem().quality) return;
  graded = *modem().quality;
  bars = signalBars(*modem().quality);
}

bool LinuxTelephony::airplaneMode() {
  if (modem().poweredOff) return true;
  Switches mobile, every;
  for (const std::string& name : entryNames(radioSwitches_)) {
    const std::string directory = radioSwitches_ + "/" + name;
    const auto type = readAttribute(directory + "/type");
    if (!type) continue;  // it has just gone
    const bool off =
        readAttribute(directory + "/soft") == "1" || readAttribute(directory + "/hard") == "1";
    for (Switches* switches : {&every, type == "wwan" ? &mobile : nullptr}) {
      if (!switches) continue;
      ++switches->all;
      switches->off += off;
    }
  }
  if (mobile.all > 0 || !modem().path.empty()) return mobile.allOff();
  return every.allOff();
}

}  // namespace zorva
