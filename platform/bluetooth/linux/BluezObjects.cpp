// SPDX-License-Identifier: Apache-2.0
#include "platform/bluetooth/linux/BluezObjects.h"

#include <algorithm>

namespace zorva {
namespace {

bool isWanted(const std::string& interface) {
  return interface == bluez::kAdapter || interface == bluez::kDevice;
}

// "a{sv}", of which only booleans are kept.
bool readFlags(sd_bus_message* message, BluezFlags& flags) {
  if (!enterContainer(message, SD_BUS_TYPE_ARRAY, "{sv}")) return false;
  while (enterContainer(message, SD_BUS_TYPE_DICT_ENTRY, "sv")) {
    const char* name = nullptr;
    if (sd_bus_message_read(message, "s", &name) < 0) return false;
    const char* contents = nullptr;
    if (sd_bus_message_peek_type(message, nullptr, &contents) <= 0) return false;
    if (contents != nullptr && std::string(contents) == "b") {
      int value = 0;
      if (sd_bus_message_read(message, "v", "b", &value) < 0) return false;
      flags[name] = value != 0;
    } else if (sd_bus_message_skip(message, "v") < 0) {
      return false;
    }
    if (!leaveContainer(message)) return false;
  }
  return leaveContainer(message);
}

// "oa{sa{sv}}".
bool readObject(sd_bus_message* message, BluezObjects& objects) {
  const char* text = nullptr;
  if (sd_bus_message_read(message, "o", &text) < 0) return false;
  const std::string path = text;
  if (!enterContainer(message, SD_BUS_TYPE_ARRAY, "{sa{sv}}")) return false;
  while (enterContainer(message, SD_BUS_TYPE_DICT_ENTRY, "sa{sv}")) {
    if (sd_bus_message_read(message, "s", &text) < 0) return false;
    const std::string interface = text;
    if (isWanted(interface)) {
      if (!readFlags(message, objects[path][interface])) return false;
    } else if (sd_bus_message_skip(message, "a{sv}") < 0) {
      return false;
    }
    if (!leaveContainer(message)) return false;
  }
  return leaveContainer(message);
}

bool flag(const BluezFlags& flags, const char* name, bool otherwise = false) {
  const auto found = flags.find(name);
  return found == flags.end() ? otherwise : found->second;
}

}  // namespace

void readBluezObjects(sd_bus_message* message, BluezObjects& objects) {
  if (!enterContainer(message, SD_BUS_TYPE_ARRAY, "{oa{sa{sv}}}")) return;
  while (enterContainer(message, SD_BUS_TYPE_DICT_ENTRY, "oa{sa{sv}}")) {
    if (!readObject(message, objects) || !leaveContainer(message)) return;
  }
}

void readBluezAdded(sd_bus_message* signal, BluezObjects& objects) {
  readObject(signal, objects);
}

void readBluezRemoved(sd_bus_message* signal, BluezObjects& objects) {
  const char* text = nullptr;
  if (sd_bus_message_read(signal, "o", &text) < 0) return;
  const auto object = objects.find(text);
  if (object == objects.end() || !enterContainer(signal, SD_BUS_TYPE_ARRAY, "s")) return;
  while (sd_bus_message_read(signal, "s", &text) > 0) object->second.erase(text);
  if (object->second.empty()) objects.erase(object);
}

void readBluezChanged(sd_bus_message* signal, BluezObjects& objects) {
  const auto object = objects.find(sd_bus_message_get_path(signal));
  const char* text = nullptr;
  if (object == objects.end() || sd_bus_message_read(signal, "s", &text) < 0) return;
  const auto flags = object->second.find(text);
  if (flags == object->second.end() || !readFlags(signal, flags->second) ||
      !enterContainer(signal, SD_BUS_TYPE_ARRAY, "s")) {
    return;
  }
  while (sd_bus_message_read(signal, "s", &text) > 0) flags->second.erase(text);
}

BluezController readBluezController(const BluezObjects& objects) {
  const auto controller = std::find_if(objects.begin(), objects.end(), [](const auto& object) {
    return object.second.contains(bluez::kAdapter);
  });
  if (controller == objects.end()) return {};
  const std::string below = controller->first + "/";
  const BluezFlags& flags = controller->second.at(bluez::kAdapter);
  const bool powered = flag(flags, "Powered");
  const bool connected = std::any_of(objects.begin(), objects.end(), [&](const auto& object) {
    const auto device = object.second.find(bluez::kDevice);
    return device != object.second.end() && object.first.starts_with(below) &&
           flag(device->second, "Connected");
  });
  return {true, powered, flag(flags, "Discoverable"), flag(flags, "Connectable", powered),
          connected};
}

}  // namespace zorva
