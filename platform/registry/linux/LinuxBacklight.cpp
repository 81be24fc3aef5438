// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/LinuxBacklight.h"

#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

#include "platform/kit/loop/EventSources.h"
#include "platform/registry/linux/Backlight.h"

namespace zorva {

// An event may be sent for a brightness that was only asked for again, and a fade sends many that
// are delivered late: what was reported already is no news. The power is switched without an event.
class LinuxBacklight::BrightnessWatch : public Watch {
 public:
  BrightnessWatch(const LinuxBacklight& backlight, sd_event* event, Report report)
      : backlight_(backlight),
        report_(std::move(report)),
        reported_(backlightBrightness(backlight_.attributes())) {
    sd_event_source* source = nullptr;
    sd_event_add_inotify(event, &source, (backlight_.directory_ + "/bl_power").c_str(), IN_MODIFY,
                         powerSwitched, this);
    power_.reset(source);
  }

  void deviceChanged(const DeviceEvent& event) override {
    if (event.name() == backlight_.name_) look();
  }

 private:
  void look() {
    const auto brightness = backlightBrightness(backlight_.attributes());
    if (!brightness || brightness == reported_) return;
    reported_ = brightness;
    const Report report = report_;  // may destroy this object
    report(kPropertyChanged, *brightness);
  }

  static int powerSwitched(sd_event_source*, const inotify_event*, void* self) {
    static_cast<BrightnessWatch*>(self)->look();
    return 0;
  }

  const LinuxBacklight& backlight_;
  Report report_;
  std::optional<std::int64_t> reported_;
  EventSource power_;
};

std::shared_ptr<LinuxBacklight> LinuxBacklight::find(const std::string& classDirectory) {
  std::shared_ptr<LinuxBacklight> best;
  for (const std::string& name : entryNames(classDirectory)) {
    std::shared_ptr<LinuxBacklight> backlight(new LinuxBacklight(classDirectory, name));
    if (!best || backlightRank(backlight->attributes()) < backlightRank(best->attributes())) {
      best = std::move(backlight);
    }
  }
  return best;
}

LinuxBacklight::LinuxBacklight(const std::string& classDirectory, std::string name)
    : name_(std::move(name)), directory_(classDirectory + "/" + name_) {}

bool LinuxBacklight::present() const {
  return ::access(directory_.c_str(), F_OK) == 0;
}

SysfsAttributes LinuxBacklight::attributes() const {
  return [this](const std::string& name) { return readAttribute(directory_ + "/" + name); };
}

RegistryResult LinuxBacklight::readProperties(Dictionary& properties) {
  if (!present()) return kRegistryNoDevice;
  properties = backlightProperties(attributes());
  return kRegistrySuccess;
}

Value LinuxBacklight::readProperty(const std::string& key) {
  return present() ? backlightProperties(attributes())[key] : Value();
}

std::unique_ptr<LinuxRegistryEntry::Watch> LinuxBacklight::watch(sd_event* event, Report report) {
  return std::make_unique<BrightnessWatch>(*this, event, std::move(report));
}

}  // namespace zorva
