// SPDX-License-Identifier: Apache-2.0
#include "platform/telephony/linux/ModemManagerObjects.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zorva {
namespace {

struct Wanted {
  const char* interface;
  std::vector<std::string> properties;
};

bool isWanted(const std::string& interface, const std::string& name) {
  static const Wanted kWanted[] = {
      {mm::kModem,
       {"AccessTechnologies", "SignalQuality", "State", "StateFailedReason", "PowerState",
        "UnlockRequired", "Revision", "Device", "Physdev", "Ports", "Bearers", "Sim"}},
      {mm::kModem3gpp, {"RegistrationState", "OperatorName", "PacketServiceState"}},
      {mm::kSignal, {"Rate", "RssiThreshold", "Cdma", "Evdo", "Gsm", "Umts", "Lte", "Nr5g"}},
      {mm::kLocation, {"Location", "Enabled"}},
      {mm::kVoice, {"Calls"}},
      {mm::kBearer, {"Connected", "Interface"}},
      {mm::kCall, {"State", "Direction"}},
  };
  for (const Wanted& wanted : kWanted) {
    if (interface != wanted.interface) continue;
    return std::find(wanted.properties.begin(), wanted.properties.end(), name) !=
           wanted.properties.end();
  }
  return false;
}

template <typename Raw>
bool readInteger(sd_bus_message* message, char type, Value& value) {
  Raw raw{};
  if (sd_bus_message_read_basic(message, type, &raw) < 0) return false;
  value = Value(static_cast<std::int64_t>(raw));
  return true;
}

bool readValue(sd_bus_message* message, Value& value);

// Everything in the container up to its end.
bool readElements(sd_bus_message* message, Value& value) {
  Value::List list;
  while (sd_bus_message_at_end(message, 0) == 0) {
    list.emplace_back();
    if (!readValue(message, list.back())) return false;
  }
  value = Value(std::move(list));
  return true;
}

bool readEntries(sd_bus_message* message, const char* entry, Value& value) {
  const std::string contents(entry + 1, std::strlen(entry) - 2);  // without the braces
  Dictionary dictionary;
  while (enterContainer(message, SD_BUS_TYPE_DICT_ENTRY, contents.c_str())) {
    Value key, element;
    if (!readValue(message, key) || !readValue(message, element) || !leaveContainer(message))
      return false;
    dictionary.set(key.description(), std::move(element));
  }
  value = Value(std::move(dictionary));
  return true;
}

// Any type of the bus but descriptors; keys of dictionaries become texts.
bool readValue(sd_bus_message* message, Value& value) {
  char type = 0;
  const char* contents = nullptr;
  if (sd_bus_message_peek_type(message, &type, &contents) <= 0) return false;
  switch (type) {
    case SD_BUS_TYPE_BOOLEAN: {
      int raw = 0;
      if (sd_bus_message_read_basic(message, type, &raw) < 0) return false;
      value = Value(raw != 0);
      return true;
    }
    case SD_BUS_TYPE_BYTE:
      return readInteger<std::uint8_t>(message, type, value);
    case SD_BUS_TYPE_INT16:
      return readInteger<std::int16_t>(message, type, value);
    case SD_BUS_TYPE_UINT16:
      return readInteger<std::uint16_t>(message, type, value);
    case SD_BUS_TYPE_INT32:
      return readInteger<std::int32_t>(message, type, value);
    case SD_BUS_TYPE_UINT32:
      return readInteger<std::uint32_t>(message, type, value);
    case SD_BUS_TYPE_INT64:
      return readInteger<std::int64_t>(message, type, value);
    case SD_BUS_TYPE_UINT64:
      return readInteger<std::uint64_t>(message, type, value);
    case SD_BUS_TYPE_DOUBLE: {
      double raw = 0;
      if (sd_bus_message_read_basic(message, type, &raw) < 0) return false;
      value = Value(raw);
      return true;
    }
    case SD_BUS_TYPE_STRING:
    case SD_BUS_TYPE_OBJECT_PATH:
    case SD_BUS_TYPE_SIGNATURE: {
      const char* raw = nullptr;
      if (sd_bus_message_read_basic(message, type, &raw) < 0) return false;
      value = Value(raw);
      return true;
    }
    case SD_BUS_TYPE_VARIANT:
      return enterContainer(message, type, contents) && readValue(message, value) &&
             leaveContainer(message);
    case SD_BUS_TYPE_STRUCT:
      return enterContainer(message, type, contents) && readElements(message, value) &&
             leaveContainer(message);
    case SD_BUS_TYPE_ARRAY: {
      // An empty array is entered with 1 as well; its signature outlives the entering.
      const std::string element = contents;
      if (!enterContainer(message, type, contents)) return false;
      const bool read = element.front() == '{' ? readEntries(message, element.c_str(), value)
                                               : readElements(message, value);
      return read && leaveContainer(message);
    }
    default:
      return false;
  }
}

// The cell, of all places that may be known.
Value cellOnly(const Value& location) {
  constexpr const char* kCell = "1";
  Dictionary kept;
  if (const Dictionary* all = location.dictionary(); all && all->contains(kCell)) {
    kept.set(kCell, (*all)[kCell]);
  }
  return Value(std::move(kept));
}

}  // namespace

const Value& property(const ModemObjects& objects, const std::string& path, const char* interface,
                      const char* name) {
  static const Value kNothing;
  const auto object = objects.find(path);
  if (object == objects.end()) return kNothing;
  const auto properties = object->second.find(interface);
  return properties == object->second.end() ? kNothing : properties->second[name];
}

std::vector<std::string> listedPaths(const ModemObjects& objects, const std::string& modem,
                                     const char* interface, const char* name) {
  std::vector<std::string> paths;
  const Value::List* list = property(objects, modem, interface, name).list();
  if (!list) return paths;
  for (const Value& path : *list) {
    if (const auto text = path.text()) paths.push_back(*text);
  }
  std::sort(paths.begin(), paths.end(), ObjectPathOrder());
  return paths;
}

bool readProperties(sd_bus_message* message, const std::string& interface,
                    ModemProperties& properties) {
  if (sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sv}") < 0) return false;
  Dictionary& known = properties[interface];
  while (enterContainer(message, SD_BUS_TYPE_DICT_ENTRY, "sv")) {
    const char* text = nullptr;
    if (sd_bus_message_read(message, "s", &text) < 0) return false;
    const std::string name = text;
    if (isWanted(interface, name)) {
      Value value;
      if (!readValue(message, value)) return false;
      if (interface == mm::kLocation && name == "Location") value = cellOnly(value);
      known.set(name, std::move(value));
    } else if (sd_bus_message_skip(message, "v") < 0) {
      return false;
    }
    if (!leaveContainer(message)) return false;
  }
  return leaveContainer(message);
}

bool readInterfaces(sd_bus_message* message, ModemProperties& properties) {
  if (sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sa{sv}}") < 0) return false;
  while (enterContainer(message, SD_BUS_TYPE_DICT_ENTRY, "sa{sv}")) {
    const char* interface = nullptr;
    if (sd_bus_message_read(message, "s", &interface) < 0 ||
        !readProperties(message, std::string(interface), properties) || !leaveContainer(message)) {
      return false;
    }
  }
  return leaveContainer(message);
}

bool readManagedObjects(sd_bus_message* message, ModemObjects& objects) {
  if (sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{oa{sa{sv}}}") < 0) return false;
  while (enterContainer(message, SD_BUS_TYPE_DICT_ENTRY, "oa{sa{sv}}")) {
    const char* path = nullptr;
    if (sd_bus_message_read(message, "o", &path) < 0 || !readInterfaces(message, objects[path]) ||
        !leaveContainer(message)) {
      return false;
    }
  }
  return leaveContainer(message);
}

bool readPropertiesChanged(sd_bus_message* message, ModemProperties& properties) {
  const char* text = nullptr;
  if (sd_bus_message_read(message, "s", &text) < 0) return false;
  const std::string interface = text;
  if (!readProperties(message, interface, properties) ||
      sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "s") < 0) {
    return false;
  }
  while (sd_bus_message_read(message, "s", &text) > 0) properties[interface].remove(text);
  return true;
}

}  // namespace zorva
