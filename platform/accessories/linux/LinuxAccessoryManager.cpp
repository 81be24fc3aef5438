// SPDX-License-Identifier: Apache-2.0
#include "platform/accessories/linux/LinuxAccessoryManager.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

constexpr std::string_view kHubClass = "09";
constexpr std::size_t kMaxInterfaces = 32;  // the maximum of a configuration

// The base classes of interfaces, as written by the kernel.
constexpr std::array<std::pair<std::string_view, const char*>, 20> kClasses{{
    {"01", "audio"},       {"02", "communication"}, {"03", "input"},       {"05", "physical"},
    {"06", "image"},       {"07", "printer"},       {"08", "storage"},     {"0a", "data"},
    {"0b", "smartcard"},   {"0d", "security"},      {"0e", "video"},       {"0f", "health"},
    {"10", "audio-video"}, {"11", "billboard"},     {"12", "type-c"},      {"dc", "diagnostic"},
    {"e0", "wireless"},    {"ef", "miscellaneous"}, {"fe", "application"}, {"ff", "vendor"},
}};

std::string wordOf(const std::string& interfaceClass) {
  for (const auto& [code, word] : kClasses) {
    if (code == interfaceClass) return word;
  }
  return "class-" + interfaceClass;
}

// Each word once, in the order of the interfaces.
std::vector<std::string> protocolsIn(const std::string& directory) {
  std::vector<std::string> words;
  std::size_t interfaces = 0;
  for (const std::string& name : entryNames(directory)) {
    if (name.find(':') == name.npos) continue;  // "1-2:1.0"
    const auto interfaceClass = readAttribute(directory + "/" + name + "/bInterfaceClass");
    if (!interfaceClass || ++interfaces > kMaxInterfaces) continue;
    const std::string word = wordOf(*interfaceClass);
    if (std::find(words.begin(), words.end(), word) == words.end()) words.push_back(word);
  }
  return words;
}

// "0210" is 2.10.
std::optional<std::string> revisionOf(const std::optional<std::string>& decimals) {
  if (!decimals || decimals->size() != 4) return decimals;
  const std::string major = decimals->substr(0, 2);
  return (major[0] == '0' ? major.substr(1) : major) + "." + decimals->substr(2);
}

// Nothing if it is not an accessory, or has been removed.
std::optional<Accessory> accessoryIn(const std::string& directory) {
  const auto attribute = [&](const char* name) { return readAttribute(directory + "/" + name); };
  const auto bus = readNumber(directory + "/busnum");
  const auto number = readNumber(directory + "/devnum");
  const auto deviceClass = attribute("bDeviceClass");
  if (!bus || !number || !deviceClass || *deviceClass == kHubClass) return std::nullopt;
  if (attribute("removable") == "fixed") return std::nullopt;
  Accessory accessory;
  accessory.connected = true;
  accessory.connectionIdentifier = static_cast<std::uint32_t>(*bus << 8 | (*number & 0xFF));
  accessory.manufacturer = attribute("manufacturer");
  accessory.name = attribute("product");
  const auto vendor = attribute("idVendor"), product = attribute("idProduct");
  if (vendor && product) accessory.modelNumber = *vendor + ":" + *product;
  accessory.serialNumber = attribute("serial");
  accessory.hardwareRevision = revisionOf(attribute("bcdDevice"));
  accessory.protocols = protocolsIn(directory);
  return accessory;
}

std::map<std::string, Accessory> accessoriesThere() {
  std::map<std::string, Accessory> there;
  sd_device_enumerator* made = nullptr;
  if (sd_device_enumerator_new(&made) < 0) return there;
  const std::unique_ptr<sd_device_enumerator, decltype(&sd_device_enumerator_unref)> devices(
      made, sd_device_enumerator_unref);
  if (sd_device_enumerator_add_match_subsystem(made, "usb", 1) < 0 ||
      sd_device_enumerator_add_match_property(made, "DEVTYPE", "usb_device") < 0 ||
      sd_device_enumerator_allow_uninitialized(made) < 0) {
    return there;
  }
  for (sd_device* device = sd_device_enumerator_get_device_first(made); device != nullptr;
       device = sd_device_enumerator_get_device_next(made)) {
    const char* directory = nullptr;
    if (sd_device_get_syspath(device, &directory) < 0) continue;
    if (auto accessory = accessoryIn(directory)) there.emplace(directory, std::move(*accessory));
  }
  return there;
}

}  // namespace

Registration LinuxAccessoryManager::observeConnected(std::function<void(const Accessory&)> event) {
  return connected_.add(std::move(event));
}

Registration LinuxAccessoryManager::observeDisconnected(
    std::function<void(const Accessory&)> event) {
  return disconnected_.add(std::move(event));
}

Registration LinuxAccessoryManager::registerForLocalNotifications() {
  if (!events_ && !listen()) return {};
  ++registrations_;
  return Registration([this] {
    if (--registrations_ > 0) return;
    events_.reset();
    known_.clear();
  });
}

std::vector<Accessory> LinuxAccessoryManager::connectedAccessories() {
  std::vector<Accessory> accessories;
  for (auto& [directory, accessory] : accessoriesThere()) accessories.push_back(accessory);
  std::sort(accessories.begin(), accessories.end(), [](const auto& left, const auto& right) {
    return left.connectionIdentifier < right.connectionIdentifier;
  });
  return accessories;
}

bool LinuxAccessoryManager::listen() {
  auto events =
      std::make_unique<DeviceEvents>([this](const DeviceEvent& event) { deviceChanged(event); });
  if (!events->listen("usb", "usb_device") || !events->attach(event_)) return false;
  events_ = std::move(events);
  known_ = accessoriesThere();  // after the events have begun, so that none is missed
  return true;
}

void LinuxAccessoryManager::deviceChanged(const DeviceEvent& event) {
  if (event.action == "remove") {
    vanished(event.path);
  } else if (event.action != "unbind") {
    appeared(event.path, event.action == "bind");
  }
}

// The kernel adds a device before its interfaces, and binds it after them.
void LinuxAccessoryManager::appeared(const std::string& directory, bool configured) {
  auto accessory = accessoryIn(directory);
  if (!accessory || (!configured && accessory->protocols.empty())) return;
  const auto [place, isNew] = known_.insert_or_assign(directory, std::move(*accessory));
  if (isNew) connected_.notify(Accessory(place->second));
}

void LinuxAccessoryManager::vanished(const std::string& directory) {
  const auto gone = known_.extract(directory);
  if (gone.empty()) return;
  gone.mapped().connected = false;
  disconnected_.notify(gone.mapped());
}

}  // namespace zorva
