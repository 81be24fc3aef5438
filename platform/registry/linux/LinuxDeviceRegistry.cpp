// SPDX-License-Identifier: Apache-2.0
#include "platform/registry/linux/LinuxDeviceRegistry.h"

#include <functional>
#include <map>
#include <set>
#include <sys/inotify.h>
#include <systemd/sd-device.h>
#include <unistd.h>
#include <utility>

#include "platform/base/Observers.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/registry/linux/Backlight.h"
#include "platform/registry/linux/PowerSupply.h"

namespace zorva {
namespace {

// A device by its name. Its directory is looked up anew at every reading, so that the handle works
// again when the device was taken out and put back.
class LinuxRegistryEntry : public RegistryEntry {
 public:
  LinuxRegistryEntry(const char* subsystem, const std::string& classDirectory, std::string name)
      : subsystem_(subsystem), name_(std::move(name)), directory_(classDirectory + "/" + name_) {}

  const std::string& subsystem() const { return subsystem_; }
  const std::string& name() const { return name_; }
  std::string path(const std::string& attribute) const { return directory_ + "/" + attribute; }

  RegistryResult readProperties(Dictionary& properties) override {
    if (!present()) return kRegistryNoDevice;
    properties = published();
    return kRegistrySuccess;
  }
  Value readProperty(const std::string& key) override {
    return present() ? publishedProperty(key) : Value();
  }

  virtual bool present() const { return ::access(directory_.c_str(), F_OK) == 0; }

  SysfsAttributes attributes() const {
    return [this](const std::string& name) { return readAttribute(path(name)); };
  }

  struct Message {
    std::uint32_t type;
    Value argument;
  };
  // Asked at every event of the device: what is to be reported of it, or nothing.
  using News = std::function<std::optional<Message>()>;
  virtual News news() const = 0;

  // The attribute whose writing is an event that the device manager does not hear of, if any.
  virtual const char* silentAttribute() const { return nullptr; }

 protected:
  virtual Dictionary published() const = 0;
  virtual Value publishedProperty(const std::string& key) const { return published()[key]; }

 private:
  std::string subsystem_;
  std::string name_;
  std::string directory_;
};

class LinuxPowerSource : public LinuxRegistryEntry {
 public:
  LinuxPowerSource(const std::string& classDirectory, const std::string& name)
      : LinuxRegistryEntry("power_supply", classDirectory, name) {}

  // Bays keep their device when the battery is out, and report that.
  bool present() const override {
    return LinuxRegistryEntry::present() && attributes()("present") != "0";
  }
  News news() const override {
    return [] { return Message{kBatteryStatusChanged, {}}; };
  }
  bool ofTheDeviceItself() const {
    const SysfsAttributes attribute = attributes();
    return attribute("type") == "Battery" && attribute("scope") != "Device";
  }

 protected:
  Dictionary published() const override { return powerSourceProperties(attributes()); }
  Value publishedProperty(const std::string& key) const override {
    return powerSourceProperty(key, attributes());
  }
};

class LinuxBacklight : public LinuxRegistryEntry {
 public:
  LinuxBacklight(const std::string& classDirectory, const std::string& name)
      : LinuxRegistryEntry("backlight", classDirectory, name) {}

  // An event may be sent for a brightness that was only asked for again, and a fade sends many that
  // are delivered late: what was reported already is no news.
  News news() const override {
    return
        [this, reported = backlightBrightness(attributes())]() mutable -> std::optional<Message> {
          const auto brightness = backlightBrightness(attributes());
          if (!brightness || brightness == reported) return std::nullopt;
          reported = brightness;
          return Message{kPropertyChanged, *brightness};
        };
  }
  const char* silentAttribute() const override { return "bl_power"; }

 protected:
  Dictionary published() const override { return backlightProperties(attributes()); }
};

std::shared_ptr<LinuxPowerSource> findPowerSource(const std::string& directory) {
  std::shared_ptr<LinuxPowerSource> emptyBay;
  for (const std::string& name : entryNames(directory)) {
    auto battery = std::make_shared<LinuxPowerSource>(directory, name);
    if (!battery->ofTheDeviceItself()) continue;
    if (battery->present()) return battery;
    if (!emptyBay) emptyBay = std::move(battery);
  }
  return emptyBay;
}

std::shared_ptr<LinuxBacklight> findBacklight(const std::string& directory) {
  std::shared_ptr<LinuxBacklight> best;
  for (const std::string& name : entryNames(directory)) {
    auto backlight = std::make_shared<LinuxBacklight>(directory, name);
    if (!best || backlightRank(backlight->attributes()) < backlightRank(best->attributes())) {
      best = std::move(backlight);
    }
  }
  return best;
}

class LinuxNotificationPort : public RegistryNotificationPort {
 public:
  explicit LinuxNotificationPort(sd_event* event) : event_(event) {}

  bool addToRunLoop() override {
    if (monitor_) return true;
    sd_device_monitor* monitor = nullptr;
    if (sd_device_monitor_new(&monitor) < 0) return false;
    MonitorPointer owned(monitor);
    for (const std::string& subsystem : subsystems_) {
      if (!listenTo(monitor, subsystem)) return false;
    }
    if (sd_device_monitor_attach_event(monitor, event_) < 0) return false;
    monitor_ = std::move(owned);
    return *onRunLoop_ = subsystems_.empty() || start();
  }

  RegistryResult addInterest(const std::shared_ptr<RegistryEntry>& entry, Handler handler,
                             Registration& interest) override {
    const auto device = std::dynamic_pointer_cast<LinuxRegistryEntry>(entry);
    if (!device) return kRegistryBadArgument;
    if (!hear(device->subsystem())) return kRegistryNoDevice;
    auto& [listeners, writes] = interests_[{device->subsystem(), device->name()}];
    if (!writes && device->silentAttribute()) {
      writes = watchWrites(device->path(device->silentAttribute()), listeners);
    }
    interest = listeners.add([entry, news = device->news(), handler = std::move(handler),
                              port = std::weak_ptr(onRunLoop_)]() mutable {
      const auto onRunLoop = port.lock();  // nothing when an earlier handler has ended the port
      if (!onRunLoop || !*onRunLoop) return;
      if (const auto message = news()) handler(entry, message->type, message->argument);
    });
    return kRegistrySuccess;
  }

 private:
  struct MonitorRelease {
    void operator()(sd_device_monitor* monitor) const { sd_device_monitor_unref(monitor); }
  };
  using MonitorPointer = std::unique_ptr<sd_device_monitor, MonitorRelease>;
  struct Interest {
    Observers<> listeners;
    EventSource writes;  // of the attribute that is written silently
  };

  static bool listenTo(sd_device_monitor* monitor, const std::string& subsystem) {
    return sd_device_monitor_filter_add_match_subsystem_devtype(monitor, subsystem.c_str(),
                                                                nullptr) >= 0;
  }

  // Only events of the classes with an interest wake the process.
  bool hear(const std::string& subsystem) {
    if (!subsystems_.insert(subsystem).second || !monitor_) return true;
    return listenTo(monitor_.get(), subsystem) && start();
  }

  bool start() {
    if (started_) return sd_device_monitor_filter_update(monitor_.get()) >= 0;
    started_ = sd_device_monitor_start(monitor_.get(), deviceChanged, this) >= 0;
    return started_;
  }

  static int deviceChanged(sd_device_monitor*, sd_device* device, void* port) {
    const char* subsystem = nullptr;
    const char* name = nullptr;
    if (sd_device_get_subsystem(device, &subsystem) < 0 || sd_device_get_sysname(device, &name) < 0)
      return 0;
    auto& interests = static_cast<LinuxNotificationPort*>(port)->interests_;
    const auto found = interests.find({subsystem, name});
    if (found != interests.end()) found->second.listeners.notify();
    return 0;
  }

  EventSource watchWrites(const std::string& path, Observers<>& listeners) {
    sd_event_source* source = nullptr;
    sd_event_add_inotify(event_, &source, path.c_str(), IN_MODIFY, attributeWritten, &listeners);
    return EventSource(source);
  }

  static int attributeWritten(sd_event_source*, const inotify_event*, void* listeners) {
    static_cast<Observers<>*>(listeners)->notify();
    return 0;
  }

  sd_event* event_;
  std::set<std::string> subsystems_;
  std::map<std::pair<std::string, std::string>, Interest> interests_;  // by subsystem and name
  std::shared_ptr<bool> onRunLoop_ = std::make_shared<bool>(false);    // ends with the port
  bool started_ = false;
  MonitorPointer monitor_;
};

}  // namespace

LinuxDeviceRegistry::LinuxDeviceRegistry(sd_event* event, std::string powerSupplies,
                                         std::string backlights)
    : event_(event), powerSupplies_(std::move(powerSupplies)), backlights_(std::move(backlights)) {}

std::shared_ptr<RegistryEntry> LinuxDeviceRegistry::firstPowerSource() {
  return findPowerSource(powerSupplies_);
}

std::shared_ptr<RegistryEntry> LinuxDeviceRegistry::firstServiceWith(const std::string& property) {
  const std::shared_ptr<RegistryEntry> services[] = {findPowerSource(powerSupplies_),
                                                     findBacklight(backlights_)};
  for (const auto& service : services) {
    if (service && service->readProperty(property).boolean()) return service;
  }
  return nullptr;
}

std::unique_ptr<RegistryNotificationPort> LinuxDeviceRegistry::makeNotificationPort() {
  return std::make_unique<LinuxNotificationPort>(event_);
}

bool LinuxDeviceRegistry::hasGasGauge() {
  const auto battery = findPowerSource(powerSupplies_);
  return battery && battery->present() && supplyHasGasGauge(battery->attributes());
}

}  // namespace zorva
