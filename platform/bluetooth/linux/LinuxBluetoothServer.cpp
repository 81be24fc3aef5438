// SPDX-License-Identifier: Apache-2.0
#include "platform/bluetooth/linux/LinuxBluetoothServer.h"

#include <algorithm>
#include <utility>

namespace zorva {
namespace {

constexpr BluetoothServer::Device kController = 1;
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr const char* kObjectManager = "org.freedesktop.DBus.ObjectManager";

std::string rule(const char* interface, const std::string& rest) {
  return std::string("type='signal',sender='") + bluez::kService + "',interface='" + interface +
         "',member='" + rest + "'";
}
std::string changesOf(const char* interface) {
  return rule(kProperties, std::string("PropertiesChanged',path_namespace='") + bluez::kPath +
                               "',arg0='" + interface);
}

}  // namespace

LinuxBluetoothServer::LinuxBluetoothServer(sd_event* event, LinuxBus& bus)
    : bus_(bus), update_(event, [this] { update(); }) {
  const auto ownerChanged = [this] {
    ownerChanged_ = true;
    update_.request();
  };
  registrations_.push_back(bus_.observeConnection([this, ownerChanged] {
    restarted_ = true;  // another bus may assign the same name again
    ownerChanged();
  }));
  registrations_.push_back(bus_.observeService(bluez::kService, ownerChanged));
  const auto follow = [this](const std::string& match,
                             void (*read)(sd_bus_message*, BluezObjects&)) {
    registrations_.push_back(bus_.observeSignals(match, [this, read](sd_bus_message* signal) {
      read(signal, objects_);
      update_.request();
    }));
  };
  follow(rule(kObjectManager, "InterfacesAdded"), readBluezAdded);
  follow(rule(kObjectManager, "InterfacesRemoved"), readBluezRemoved);
  follow(changesOf(bluez::kAdapter), readBluezChanged);
  follow(changesOf(bluez::kDevice), readBluezChanged);
}

BluetoothServer::Status LinuxBluetoothServer::attachSession(const std::string&,
                                                            SessionHandler handler,
                                                            Registration& callbacks) {
  const auto client = std::make_shared<Client>();
  callbacks = client->events.add(std::move(handler));
  clients_.push_back(client);
  update_.request();
  return 0;
}

BluetoothServer::Status LinuxBluetoothServer::detachSession(Session& session) {
  const Session ended = std::exchange(session, 0);
  for (const auto& client : clients_) {
    if (ended == 0 || client->session != ended || client->detached) continue;
    client->detached = true;
    update_.request();
    return 0;
  }
  return kNoHandle;
}

// Signals that were sent before the reply may still be delivered after it; the last of them agrees
// with the reply.
void LinuxBluetoothServer::readAll() {
  objects_.clear();
  const LinuxBus::Reply reply =
      bus_.call(bluez::kService, bluez::kManagerPath, kObjectManager, "GetManagedObjects");
  // If the service does not reply, it is read at its next signal.
  ownerChanged_ = reply.outcome == LinuxBus::Outcome::Failed;
  std::string owner;
  if (reply.message) {
    const char* const sender = sd_bus_message_get_sender(reply.message.get());
    owner = sender ? sender : bluez::kService;
    readBluezObjects(reply.message.get(), objects_);
  }
  if (std::exchange(owner_, owner) != owner) restarted_ = true;
}

void LinuxBluetoothServer::endSessions(bool all) {
  // A callback may change the list.
  for (const auto& client : Clients(clients_)) {
    if (client->session == 0 || !(all || client->detached)) continue;
    std::erase(clients_, client);
    client->events.notify(client->session, kSessionTerminated, 0);
  }
}

void LinuxBluetoothServer::update() {
  if (ownerChanged_) readAll();
  endSessions(std::exchange(restarted_, false));
  const BluezController before = std::exchange(controller_, readBluezController(objects_));
  if (controller_.powered != before.powered) powerObservers_.notify();
  if (controller_ != before) deviceObservers_.notify();
  if (!owner_.empty()) {
    for (const auto& client : Clients(clients_)) {
      if (client->session != 0) continue;
      client->session = ++lastSession_;
      client->events.notify(client->session, kSessionAttached, 0);
    }
  }
}

BluetoothServer::Status LinuxBluetoothServer::defaultLocalDevice(Session session, Device& device) {
  const bool known = std::any_of(clients_.begin(), clients_.end(), [&](const auto& client) {
    return session != 0 && client->session == session && !client->detached;
  });
  if (!known) return kNoHandle;
  if (!controller_.present) return kNoDevice;
  device = kController;
  return 0;
}

BluetoothServer::Status LinuxBluetoothServer::refusal(Device device) const {
  if (device != kController) return kNoHandle;
  return controller_.present ? 0 : kNoDevice;
}

BluetoothServer::Status LinuxBluetoothServer::addLocalDeviceCallbacks(Device device,
                                                                      Changed changed,
                                                                      Registration& callbacks) {
  callbacks = deviceObservers_.add(std::move(changed));
  return refusal(device);
}

BluetoothServer::Status LinuxBluetoothServer::registerForPowerUpdates(Device device,
                                                                      Changed changed,
                                                                      Registration& callbacks) {
  callbacks = powerObservers_.add(std::move(changed));
  return refusal(device);
}

BluetoothServer::Status LinuxBluetoothServer::ask(Device device, bool held,
                                                  std::uint32_t& reported) const {
  const Status refused = refusal(device);
  if (refused == 0) reported = held ? kStateOn : 0;
  return refused;
}

BluetoothServer::Status LinuxBluetoothServer::modulePower(Device device, Module module,
                                                          std::uint32_t& state) {
  return ask(device, module == Module::Controller && controller_.powered, state);
}

BluetoothServer::Status LinuxBluetoothServer::discoverable(Device device, std::uint32_t& state) {
  return ask(device, controller_.discoverable, state);
}

BluetoothServer::Status LinuxBluetoothServer::connectable(Device device, std::uint32_t& state) {
  return ask(device, controller_.connectable, state);
}

BluetoothServer::Status LinuxBluetoothServer::connectionStatus(Device device,
                                                               std::uint32_t& state) {
  return ask(device, controller_.connected, state);
}

BluetoothServer::Status LinuxBluetoothServer::readPowerConsumption(Device device, std::uint32_t&) {
  const Status refused = refusal(device);
  return refused == 0 ? kNotCounted : refused;
}

}  // namespace zorva
