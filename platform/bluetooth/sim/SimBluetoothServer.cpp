// SPDX-License-Identifier: Apache-2.0
#include "platform/bluetooth/sim/SimBluetoothServer.h"

#include <algorithm>
#include <utility>

namespace zorva {
namespace {

constexpr BluetoothServer::Device kController = 1;
// The default result of a fault.
constexpr std::int64_t kUsualError = 1;

// true and false, or the server's own state as a number.
std::uint32_t stateIn(const ScenarioNode& node) {
  if (node.text() == "true" || node.text() == "false") {
    return node.boolean() ? BluetoothServer::kStateOn : 0;
  }
  return static_cast<std::uint32_t>(node.integer(0, UINT32_MAX));
}

}  // namespace

/// A client that requested a session.
struct SimBluetoothServer::Client {
  Session session = 0;  ///< 0 until it is attached
  Observers<Session, std::int32_t, Status> events;
  // Set while an event is to be delivered in the next iteration of the run loop.
  Registration turn;
};

SimBluetoothServer::SimBluetoothServer(SimParts& parts, RunLoop& runLoop)
    : runLoop_(runLoop),
      attachFault_(parts.faults, "bluetooth.attachSession", kUsualError),
      attachedFault_(parts.faults, "bluetooth.sessionAttached", kUsualError),
      detachFault_(parts.faults, "bluetooth.detachSession", kUsualError),
      defaultLocalDeviceFault_(parts.faults, "bluetooth.defaultLocalDevice", kUsualError),
      addLocalDeviceCallbacksFault_(parts.faults, "bluetooth.addLocalDeviceCallbacks", kUsualError),
      registerForPowerUpdatesFault_(parts.faults, "bluetooth.registerForPowerUpdates", kUsualError),
      modulePowerFault_(parts.faults, "bluetooth.modulePower", kUsualError),
      discoverableFault_(parts.faults, "bluetooth.discoverable", kUsualError),
      connectableFault_(parts.faults, "bluetooth.connectable", kUsualError),
      connectionStatusFault_(parts.faults, "bluetooth.connectionStatus", kUsualError),
      readPowerConsumptionFault_(parts.faults, "bluetooth.readPowerConsumption", kUsualError) {
  const auto stateReader = [](auto set) {
    return [set](const ScenarioNode& node) -> ScenarioAction {
      return [set, state = stateIn(node)] { set(state); };
    };
  };
  const auto moduleReader = [=, this](Module module) {
    return stateReader([this, module](std::uint32_t state) { setModulePower(module, state); });
  };
  const std::vector<ScenarioNode::Key> both{
      {"running",
       [this](const ScenarioNode& node) -> ScenarioAction {
         return [this, running = node.boolean()] { setRunning(running); };
       }},
      {"present",
       [this](const ScenarioNode& node) -> ScenarioAction {
         return [this, present = node.boolean()] { setPresent(present); };
       }},
      {"power", moduleReader(Module::Controller)},
      {"runvo", moduleReader(Module::Runvo)},
      {"fm", moduleReader(Module::FM)},
      {"discoverable", stateReader([this](std::uint32_t state) { setDiscoverable(state); })},
      {"connectable", stateReader([this](std::uint32_t state) { setConnectable(state); })},
      {"connected", stateReader([this](std::uint32_t state) { setConnectionStatus(state); })},
      {"power_consumption", [this](const ScenarioNode& node) -> ScenarioAction {
         const auto amount = static_cast<std::uint32_t>(node.integer(0, UINT32_MAX));
         return [this, amount] { usePower(amount); };
       }}};
  parts.sections.addStart("bluetooth",
                          [both](const ScenarioNode& node) { return node.actions(both); });
  std::vector<ScenarioNode::Key> step = both;
  step.push_back({"event", [this](const ScenarioNode& node) -> ScenarioAction {
                    const auto event =
                        static_cast<std::int32_t>(node.integer(INT32_MIN, INT32_MAX));
                    return [this, event] { sendEvent(event); };
                  }});
  parts.sections.addStep("bluetooth",
                         [step](const ScenarioNode& node) { return node.actions(step); });
}

BluetoothServer::Status SimBluetoothServer::attachSession(const std::string&,
                                                          SessionHandler handler,
                                                          Registration& callbacks) {
  if (const auto refused = attachFault_.struckResult<Status>()) return *refused;
  const auto client = std::make_shared<Client>();
  callbacks = client->events.add(std::move(handler));
  clients_.push_back(client);
  if (running_) replyLater(client);
  return 0;
}

void SimBluetoothServer::replyLater(const std::shared_ptr<Client>& client) {
  client->turn = runLoop_.startTimer(0.0, [this, weak = std::weak_ptr(client)] {
    if (const auto requester = weak.lock()) answer(requester);
  });
}

void SimBluetoothServer::answer(const std::shared_ptr<Client>& client) {
  if (const auto failed = attachedFault_.struckResult<Status>()) {
    std::erase(clients_, client);
    return client->events.notify(0, kSessionAttached, *failed);
  }
  client->session = ++lastSession_;
  client->events.notify(client->session, kSessionAttached, 0);
}

BluetoothServer::Status SimBluetoothServer::detachSession(Session& session) {
  const auto failed = detachFault_.struckResult<Status>();
  if (session == 0) return kNoHandle;
  if (failed) return *failed;
  const auto client = clientOf(std::exchange(session, 0));
  if (!client) return kNoHandle;
  std::erase(clients_, client);
  // The timer's callback keeps the client alive until it has been notified.
  client->turn = runLoop_.startTimer(0.0, [client] {
    client->events.notify(client->session, kSessionTerminated, 0);
    client->turn.reset();
  });
  return 0;
}

std::shared_ptr<SimBluetoothServer::Client> SimBluetoothServer::clientOf(Session session) const {
  const auto client = std::find_if(clients_.begin(), clients_.end(), [&](const auto& each) {
    return session != 0 && each->session == session;
  });
  return client == clients_.end() ? nullptr : *client;
}

BluetoothServer::Status SimBluetoothServer::defaultLocalDevice(Session session, Device& device) {
  const auto failed = defaultLocalDeviceFault_.struckResult<Status>();
  if (session == 0) return kNoHandle;
  if (failed) return *failed;
  if (!clientOf(session)) return kNoHandle;
  if (!present_) return kNoDevice;
  device = kController;
  return 0;
}

BluetoothServer::Status SimBluetoothServer::refusal(Device device, SimFaultPoint& fault) const {
  const auto failed = fault.struckResult<Status>();
  if (device == 0) return kNoHandle;
  if (failed) return *failed;
  if (device != kController) return kNoHandle;
  return present_ && running_ ? 0 : kNoDevice;
}

BluetoothServer::Status SimBluetoothServer::addLocalDeviceCallbacks(Device device, Changed changed,
                                                                    Registration& callbacks) {
  const Status refused = refusal(device, addLocalDeviceCallbacksFault_);
  if (refused == 0) callbacks = deviceObservers_.add(std::move(changed));
  return refused;
}

BluetoothServer::Status SimBluetoothServer::registerForPowerUpdates(Device device, Changed changed,
                                                                    Registration& callbacks) {
  const Status refused = refusal(device, registerForPowerUpdatesFault_);
  if (refused == 0) callbacks = powerObservers_.add(std::move(changed));
  return refused;
}

BluetoothServer::Status SimBluetoothServer::ask(Device device, SimFaultPoint& fault,
                                                std::uint32_t held, std::uint32_t& reported) const {
  const Status refused = refusal(device, fault);
  if (refused == 0) reported = held;
  return refused;
}

BluetoothServer::Status SimBluetoothServer::modulePower(Device device, Module module,
                                                        std::uint32_t& state) {
  return ask(device, modulePowerFault_, modules_[module], state);
}

BluetoothServer::Status SimBluetoothServer::discoverable(Device device, std::uint32_t& state) {
  return ask(device, discoverableFault_, discoverable_, state);
}

BluetoothServer::Status SimBluetoothServer::connectable(Device device, std::uint32_t& state) {
  return ask(device, connectableFault_, connectable_, state);
}

BluetoothServer::Status SimBluetoothServer::connectionStatus(Device device, std::uint32_t& state) {
  return ask(device, connectionStatusFault_, connectionStatus_, state);
}

BluetoothServer::Status SimBluetoothServer::readPowerConsumption(Device device,
                                                                 std::uint32_t& value) {
  const Status refused = ask(device, readPowerConsumptionFault_, used_, value);
  if (refused == 0) used_ = 0;
  return refused;
}

void SimBluetoothServer::setRunning(bool running) {
  running_ = running;
  // A callback may change the list.
  for (const auto& client : std::vector(clients_)) {
    if (running && client->session == 0) replyLater(client);
    if (running) continue;
    client->turn.reset();
    if (client->session == 0) continue;  // waits
    std::erase(clients_, client);
    client->events.notify(client->session, kSessionTerminated, 0);
  }
}

void SimBluetoothServer::sendEvent(std::int32_t event) {
  for (const auto& client : std::vector(clients_)) {
    if (client->session != 0) client->events.notify(client->session, event, 0);
  }
}

void SimBluetoothServer::set(std::uint32_t& held, std::uint32_t state) {
  held = state;
  deviceObservers_.notify();
}

void SimBluetoothServer::setModulePower(Module module, std::uint32_t state) {
  set(modules_[module], state);
}

void SimBluetoothServer::setDiscoverable(std::uint32_t state) {
  set(discoverable_, state);
}

void SimBluetoothServer::setConnectable(std::uint32_t state) {
  set(connectable_, state);
}

void SimBluetoothServer::setConnectionStatus(std::uint32_t state) {
  set(connectionStatus_, state);
}

void SimBluetoothServer::usePower(std::uint32_t amount) {
  used_ += amount;
  powerObservers_.notify();
}

}  // namespace zorva
