// SPDX-License-Identifier: Apache-2.0
#include "platform/telephony/linux/ModemManagerClient.h"

#include <algorithm>
#include <utility>

namespace zorva {
namespace {

constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr const char* kObjectManager = "org.freedesktop.DBus.ObjectManager";
// A modem that is not enabled has no strength to report, and refuses to be asked for it.
constexpr std::int32_t kStateEnabled = 6;
// A service that does not reply in time holds up the loop each time it is asked.
constexpr std::chrono::minutes kBetweenAskingAgain{1};

std::string signalRule(const char* interface, const char* member) {
  return std::string("type='signal',sender='") + mm::kService + "',interface='" + interface +
         "',member='" + member + "',path_namespace='" + mm::kPath + "'";
}

int appendThreshold(sd_bus_message* call, std::uint32_t threshold) {
  return sd_bus_message_append(call, "a{sv}", 1, "rssi-threshold", "u", threshold);
}

}  // namespace

ModemManagerClient::ModemManagerClient(sd_event* event, LinuxBus& bus)
    : bus_(bus), update_(event, [this] { update(); }) {
  const auto ownerChanged = [this] {
    ownerChanged_ = true;
    update_.request();
  };
  registrations_.push_back(bus_.observeConnection([this, ownerChanged] {
    if (!owner_.empty()) owner_ = "of another bus";  // which may give the same name again
    ownerChanged();
  }));
  registrations_.push_back(bus_.observeService(mm::kService, ownerChanged));
  registrations_.push_back(
      bus_.observeSignals(signalRule(kObjectManager, "InterfacesAdded"),
                          [this](sd_bus_message* signal) { objectAdded(signal); }));
  registrations_.push_back(
      bus_.observeSignals(signalRule(kObjectManager, "InterfacesRemoved"),
                          [this](sd_bus_message* signal) { objectRemoved(signal); }));
  registrations_.push_back(
      bus_.observeSignals(signalRule(kProperties, "PropertiesChanged"),
                          [this](sd_bus_message* signal) { propertiesChanged(signal); }));
  registrations_.push_back(
      bus_.observeSignals(signalRule(mm::kMessaging, "Added"), [this](sd_bus_message* signal) {
        const char* path = nullptr;
        int received = 0;
        if (sd_bus_message_read(signal, "ob", &path, &received) >= 0 && received) {
          incoming_.notify(Incoming::Message);
        }
      }));
  update();
}

ModemManagerClient::~ModemManagerClient() {
  takeBackSignal();
}

void ModemManagerClient::objectAdded(sd_bus_message* signal) {
  if (failed_) readAgain();
  const char* path = nullptr;
  if (sd_bus_message_read(signal, "o", &path) < 0) return;
  readInterfaces(signal, objects_[path]);
  update_.request();
}

void ModemManagerClient::objectRemoved(sd_bus_message* signal) {
  const char *path = nullptr, *interface = nullptr;
  if (sd_bus_message_read(signal, "o", &path) < 0 ||
      sd_bus_message_enter_container(signal, SD_BUS_TYPE_ARRAY, "s") < 0) {
    return;
  }
  const auto object = objects_.find(path);
  if (object == objects_.end()) return;
  while (sd_bus_message_read(signal, "s", &interface) > 0) object->second.erase(interface);
  // What is left are interfaces of which nothing is wanted.
  if (object->second.count(mm::kModem) == 0) objects_.erase(object);
  update_.request();
}

void ModemManagerClient::propertiesChanged(sd_bus_message* signal) {
  if (failed_) readAgain();
  // Objects that are not known yet are read as a whole once they are announced.
  const auto object = objects_.find(sd_bus_message_get_path(signal));
  if (object == objects_.end()) return;
  readPropertiesChanged(signal, object->second);
  update_.request();
}

// Signals that were sent before the answer may still come after it; the last of them says what the
// answer says.
void ModemManagerClient::readAll() {
  ownerChanged_ = false;
  objects_.clear();
  askedForSignal_.clear();
  const LinuxBus::Reply reply =
      bus_.call(mm::kService, mm::kPath, kObjectManager, "GetManagedObjects");
  running_ = reply.outcome != LinuxBus::Outcome::Absent;
  failed_ = reply.outcome == LinuxBus::Outcome::Failed;
  if (!reply.message) return;
  const char* const owner = sd_bus_message_get_sender(reply.message.get());
  const std::string before = std::exchange(owner_, owner ? owner : mm::kService);
  if (!before.empty() && before != owner_) restartUnreported_ = true;
  readManagedObjects(reply.message.get(), objects_);
}

// The service shows life after all. It does not announce by itself what it has had all along.
void ModemManagerClient::readAgain() {
  const auto now = std::chrono::steady_clock::now();
  if (askedAgain_ && now - *askedAgain_ < kBetweenAskingAgain) return;
  askedAgain_ = now;
  ownerChanged_ = true;
  update_.request();
}

// The object manager knows modems only; their bearers and calls are read one by one, when they are
// first named.
void ModemManagerClient::readListed() {
  std::set<std::string> listed;
  std::vector<std::string> modems;
  for (const auto& [path, properties] : objects_) {
    if (properties.count(mm::kModem) > 0) modems.push_back(path);
  }
  bool answers = true;
  const auto read = [&](const std::string& modem, const char* list, const char* name,
                        const char* interface) {
    for (const std::string& path : listedPaths(objects_, modem, list, name)) {
      listed.insert(path);
      if (!answers || objects_.count(path) > 0) continue;
      const LinuxBus::Reply reply = bus_.call(
          mm::kService, path.c_str(), kProperties, "GetAll",
          [&](sd_bus_message* call) { return sd_bus_message_append(call, "s", interface); });
      // One that has gone again is an error. So that a service that does not answer cannot hold up
      // the loop, the rest is then left to the next update.
      ModemProperties& properties = objects_[path];
      if (reply.message) readProperties(reply.message.get(), interface, properties);
      answers = reply.outcome == LinuxBus::Outcome::Answered;
    }
  };
  for (const std::string& modem : modems) {
    read(modem, mm::kModem, "Bearers", mm::kBearer);
    read(modem, mm::kVoice, "Calls", mm::kCall);
  }
  if (!answers) update_.request();
  std::erase_if(objects_, [&](const auto& object) {
    return object.second.count(mm::kModem) == 0 && listed.count(object.first) == 0;
  });
}

// A modem measures its strength in dBm only for those who ask. Asked for changes it reports them
// itself; asked for a rate, it would be called again and again, so that is left to others.
void ModemManagerClient::askForSignal() {
  std::erase_if(askedForSignal_, [&](const std::string& path) {
    return property(objects_, path, mm::kModem, "State").integer32() < kStateEnabled;
  });
  if (signalPaused_) return;
  const std::string& path = record_.path;
  const Value& threshold = property(objects_, path, mm::kSignal, "RssiThreshold");
  // What was taken back may still show for a moment.
  const bool ours = threshold.integer() == kSignalThreshold && takenBack_.count(path) > 0;
  if (threshold.isNothing() ||
      (threshold.integer() != 0 && !ours) ||  // too old, or another client asked already
      property(objects_, path, mm::kSignal, "Rate").integer() != 0 ||
      property(objects_, path, mm::kModem, "State").integer32() < kStateEnabled ||
      !askedForSignal_.insert(path).second) {
    return;
  }
  bus_.send(mm::kService, path.c_str(), mm::kSignal, "SetupThresholds",
            [](sd_bus_message* call) { return appendThreshold(call, kSignalThreshold); });
}

std::int64_t ModemManagerClient::signalThreshold(const std::string& modem) const {
  return property(objects_, modem, mm::kSignal, "RssiThreshold").integer();
}

// Where the threshold does not show yet, the request for it is still on its way to the modem.
void ModemManagerClient::takeBackSignal() {
  for (const std::string& path : askedForSignal_) {
    const std::int64_t threshold = signalThreshold(path);
    // Another client may have set a different one since.
    if (threshold != kSignalThreshold && threshold != 0) continue;
    bus_.send(mm::kService, path.c_str(), mm::kSignal, "SetupThresholds",
              [](sd_bus_message* call) { return appendThreshold(call, 0); });
  }
}

void ModemManagerClient::pauseSignal() {
  if (std::exchange(signalPaused_, true)) return;
  takeBackSignal();
  takenBack_ = std::exchange(askedForSignal_, {});
}

bool ModemManagerClient::takingBackSignal() const {
  return std::any_of(takenBack_.begin(), takenBack_.end(), [this](const std::string& modem) {
    return signalThreshold(modem) == kSignalThreshold;
  });
}

void ModemManagerClient::resumeSignal() {
  if (!std::exchange(signalPaused_, false)) return;
  askForSignal();
  takenBack_.clear();
}

void ModemManagerClient::update() {
  if (ownerChanged_) readAll();
  readListed();
  const auto modem = std::find_if(objects_.begin(), objects_.end(), [](const auto& object) {
    return object.second.count(mm::kModem) > 0;
  });
  record_ = readModem(objects_, modem == objects_.end() ? std::string() : modem->first);
  askForSignal();
  const std::vector<std::string> before = std::exchange(ringing_, readRingingCalls(objects_));
  const auto newCalls = std::count_if(ringing_.begin(), ringing_.end(), [&](const auto& call) {
    return std::find(before.begin(), before.end(), call) == before.end();
  });
  if (std::exchange(restartUnreported_, false)) restarted_.notify();
  changed_.notify();
  for (auto call = newCalls; call > 0; --call) incoming_.notify(Incoming::Call);
}

}  // namespace zorva
