#include "platform/linux/LinuxDeviceRegistry.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <map>
#include <systemd/sd-device.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/Observers.h"
#include "platform/linux/PowerSupply.h"

namespace zorva {
namespace {

// A battery by its name. Its directory is looked up anew at every reading, so that the handle works
// again when the battery was taken out and put back.
class LinuxPowerSource : public RegistryEntry {
 public:
  LinuxPowerSource(std::string directory, std::string name)
      : directory_(std::move(directory)), name_(std::move(name)) {}

  const std::string& name() const { return name_; }

  RegistryResult readProperties(Dictionary& properties) override {
    if (!present()) return kRegistryNoDevice;
    properties = powerSourceProperties(attributes());
    return kRegistrySuccess;
  }

  Value readProperty(const std::string& key) override {
    return present() ? powerSourceProperty(key, attributes()) : Value();
  }

  // Bays keep their device when the battery is out and tell so.
  bool present() const {
    return ::access(directory_.c_str(), F_OK) == 0 && attribute("present") != "0";
  }

  std::optional<std::string> attribute(const std::string& name) const {
    const int file = ::open((directory_ + "/" + name).c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return std::nullopt;
    std::array<char, 4096> page;  // the kernel's limit for an attribute
    const ssize_t length = ::read(file, page.data(), page.size());
    ::close(file);
    if (length < 0) return std::nullopt;
    std::string text(page.data(), static_cast<std::size_t>(length));
    text.erase(text.find_last_not_of(" \n") + 1);
    return text;
  }

  SupplyAttributes attributes() const {
    return [this](const std::string& name) { return attribute(name); };
  }

  bool ofTheDeviceItself() const {
    return attribute("type") == "Battery" && attribute("scope") != "Device";
  }

 private:
  std::string directory_;
  std::string name_;
};

std::vector<std::string> namesIn(const std::string& directory) {
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator at(directory, error), end; !error && at != end;
       at.increment(error)) {
    names.push_back(at->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::shared_ptr<LinuxPowerSource> findPowerSource(const std::string& directory) {
  std::shared_ptr<LinuxPowerSource> emptyBay;
  for (const std::string& name : namesIn(directory)) {
    auto battery = std::make_shared<LinuxPowerSource>(directory + "/" + name, name);
    if (!battery->ofTheDeviceItself()) continue;
    if (battery->present()) return battery;
    if (!emptyBay) emptyBay = std::move(battery);
  }
  return emptyBay;
}

class LinuxNotificationPort : public RegistryNotificationPort {
 public:
  explicit LinuxNotificationPort(sd_event* event) : event_(event) {}

  bool addToRunLoop() override {
    if (monitor_) return true;
    sd_device_monitor* monitor = nullptr;
    if (sd_device_monitor_new(&monitor) < 0) return false;
    MonitorPointer owned(monitor);
    if (sd_device_monitor_filter_add_match_subsystem_devtype(monitor, "power_supply", nullptr) <
            0 ||
        sd_device_monitor_attach_event(monitor, event_) < 0 ||
        sd_device_monitor_start(monitor, deviceChanged, this) < 0) {
      return false;
    }
    monitor_ = std::move(owned);
    return true;
  }

  RegistryResult addInterest(const std::shared_ptr<RegistryEntry>& entry, Handler handler,
                             Registration& interest) override {
    const auto battery = std::dynamic_pointer_cast<LinuxPowerSource>(entry);
    if (!battery) return kRegistryBadArgument;
    interest = interests_[battery->name()].add(
        [entry, handler = std::move(handler), port = std::weak_ptr(alive_)] {
          // An earlier handler may have ended the port.
          if (!port.expired()) handler(entry, kBatteryStatusChanged, Value());
        });
    return kRegistrySuccess;
  }

 private:
  struct MonitorRelease {
    void operator()(sd_device_monitor* monitor) const { sd_device_monitor_unref(monitor); }
  };
  using MonitorPointer = std::unique_ptr<sd_device_monitor, MonitorRelease>;

  static int deviceChanged(sd_device_monitor*, sd_device* device, void* port) {
    const char* name = nullptr;
    if (sd_device_get_sysname(device, &name) < 0) return 0;
    auto& interests = static_cast<LinuxNotificationPort*>(port)->interests_;
    if (const auto found = interests.find(name); found != interests.end()) found->second.tell();
    return 0;
  }

  sd_event* event_;
  std::map<std::string, Observers<>, std::less<>> interests_;  // by the device's name
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  MonitorPointer monitor_;
};

}  // namespace

LinuxDeviceRegistry::LinuxDeviceRegistry(sd_event* event, std::string powerSupplies)
    : event_(event), powerSupplies_(std::move(powerSupplies)) {}

std::shared_ptr<RegistryEntry> LinuxDeviceRegistry::firstPowerSource() {
  return findPowerSource(powerSupplies_);
}

std::unique_ptr<RegistryNotificationPort> LinuxDeviceRegistry::makeNotificationPort() {
  return std::make_unique<LinuxNotificationPort>(event_);
}

bool LinuxDeviceRegistry::hasGasGauge() {
  const auto battery = findPowerSource(powerSupplies_);
  return battery && battery->present() && supplyHasGasGauge(battery->attributes());
}

}  // namespace zorva
