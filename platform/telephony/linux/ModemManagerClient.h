// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <systemd/sd-event.h>
#include <vector>

#include "platform/base/Observers.h"
#include "platform/base/Registration.h"
#include "platform/kit/bus/LinuxBus.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/telephony/linux/ModemManagerObjects.h"
#include "platform/telephony/linux/ModemRecord.h"

namespace zorva {

/// Follows ModemManager (docs/linux-telephony.md) and keeps a record of the first modem, so that
/// questions are answered without a call. The bus, the service and the modems may come and go; what
/// is absent makes an empty record.
class ModemManagerClient {
 public:
  /// By how many dBm the strength has to move until the modem reports it.
  static constexpr std::uint32_t kSignalThreshold = 2;

  /// Reads the present state at once. Both outlive this.
  ModemManagerClient(sd_event* event, LinuxBus& bus);
  ModemManagerClient(const ModemManagerClient&) = delete;
  ModemManagerClient& operator=(const ModemManagerClient&) = delete;
  /// Takes back what it asked the modem for.
  ~ModemManagerClient();

  /// Whether the service is there.
  bool running() const { return running_; }
  /// Of the modem whose path is first, in the order in which the service numbers them.
  const ModemRecord& modem() const { return record_; }

  /// Where the modems are in sysfs ("/sys/devices/..."), of all modems.
  std::vector<std::string> modemDevices() const { return readModemDevices(objects_); }
  /// The network interfaces over which mobile data goes ("wwan0"): those of the connected bearers,
  /// else the modems' network ports.
  std::vector<std::string> mobileInterfaces() const { return readMobileInterfaces(objects_); }
  /// The location sources that are switched on in any modem, by the service's bits.
  std::uint32_t enabledLocationSources() const { return readEnabledLocationSources(objects_); }

  /// A modem that reports its strength wakes a sleeping device for it. Takes back what was asked of
  /// the modems, and asks for no more until resumeSignal().
  void pauseSignal();
  void resumeSignal();
  /// Whether a modem was asked for its strength.
  bool askedForSignal() const { return !askedForSignal_.empty(); }
  /// Whether a modem still has the threshold that pauseSignal() took back.
  bool takingBackSignal() const;

  /// The rest calls back from the event loop.

  /// After the record may have changed, once for what came at a time.
  Registration observe(std::function<void()> changed) { return changed_.add(std::move(changed)); }
  /// When a service is there that is another than the one before; before observe()'s callback.
  Registration observeRestart(std::function<void()> restarted) {
    return restarted_.add(std::move(restarted));
  }
  enum class Incoming {
    Call,     ///< a call rings here, or waits
    Message,  ///< a message, or its first part, was received
  };
  /// Once for each; after observe()'s callback for a call.
  Registration observeIncoming(std::function<void(Incoming)> incoming) {
    return incoming_.add(std::move(incoming));
  }

 private:
  void readAll();
  void readAgain();
  void readListed();
  void askForSignal();
  void takeBackSignal();
  std::int64_t signalThreshold(const std::string& modem) const;
  void update();
  void objectAdded(sd_bus_message* signal);
  void objectRemoved(sd_bus_message* signal);
  void propertiesChanged(sd_bus_message* signal);

  LinuxBus& bus_;
  bool running_ = false;
  std::string owner_;         ///< the last service's name on its bus; empty before there was one
  bool ownerChanged_ = true;  ///< since the objects were read
  bool failed_ = false;       ///< the service is there, and did not list its objects when asked
  std::optional<std::chrono::steady_clock::time_point> askedAgain_;
  bool restartUnreported_ = false;
  ModemObjects objects_;
  ModemRecord record_;
  std::vector<std::string> ringing_;
  std::set<std::string> askedForSignal_;  ///< modems
  std::set<std::string> takenBack_;       ///< of them, those of the pause
  bool signalPaused_ = false;
  Observers<> changed_;
  Observers<> restarted_;
  Observers<Incoming> incoming_;
  CoalescedCall update_;
  std::vector<Registration> registrations_;
};

}  // namespace zorva
