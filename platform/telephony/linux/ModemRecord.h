// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/telephony/Telephony.h"
#include "platform/telephony/linux/ModemManagerObjects.h"

namespace zorva {

/// A modem as the telephony services describe it; with an empty path there is none.
struct ModemRecord {
  std::string path;
  std::string device;                    ///< its place in sysfs, or empty
  bool poweredOff = false;               ///< off or in low power mode
  std::string technology;                ///< a text of namespace rat, or another
  std::optional<std::int32_t> signal;    ///< dBm
  std::optional<std::int32_t> quality;   ///< percent
  std::optional<std::string> simStatus;  ///< with its prefix, as the next two
  std::optional<std::string> registrationStatus;
  std::optional<std::string> dataIndicator;
  std::optional<bool> home;  ///< nothing while not registered
  std::optional<std::string> operatorName;
  std::optional<std::int64_t> cell;
  std::optional<std::int64_t> area;  ///< location or tracking area code
  bool dataAttached = false;
  std::int32_t dataContexts = 0;       ///< how many are active
  std::vector<Telephony::Call> calls;  ///< those that have not ended
  std::optional<std::string> firmware;
};

/// The record of the modem at the path, by the tables below.
ModemRecord readModem(const ModemObjects& objects, const std::string& path);

/// The modems' places in sysfs ("/sys/devices/..."), of those that report theirs.
std::vector<std::string> readModemDevices(const ModemObjects& objects);
/// The network interfaces of the connected bearers of all modems; without any, the modems' network
/// ports.
std::vector<std::string> readMobileInterfaces(const ModemObjects& objects);
/// "Enabled" of the location interface, a set, of all modems together.
std::uint32_t readEnabledLocationSources(const ModemObjects& objects);
/// The calls that ring or wait for an answer here, by their paths.
std::vector<std::string> readRingingCalls(const ModemObjects& objects);

// How the service's numbers are reported. Each takes the number as the service gives it.

/// "AccessTechnologies", a set; the newest technology counts.
std::string technologyText(std::uint32_t technologies);
/// The same for packet data: "5G", "LTE", "HSPA+", "HSPA", "3G", "EDGE", "GPRS", "EVDO", "1xRTT",
/// or "None".
std::string dataIndicatorWord(std::uint32_t technologies);
/// "State" of a call.
CallStatus callStatus(std::int32_t state);
/// "RegistrationState" of the 3GPP interface.
std::string registrationWord(std::uint32_t state);
/// Whether that is a registration at home, or nothing for no registration.
std::optional<bool> registeredAtHome(std::uint32_t state);
/// From "UnlockRequired", whether there is a SIM, and "StateFailedReason".
std::string simWord(std::uint32_t lock, bool present, std::uint32_t failedReason);
/// 0 to 5, one for every 20 percent begun.
std::int32_t signalBars(std::int32_t quality);
/// The service makes a quality of 0 to 100 percent out of -113 to -51 dBm; this is the way back, to
/// about half a dBm.
std::int32_t signalOfQuality(std::int32_t quality);
/// From the cell's text "MCC,MNC,LAC,CI,TAC", the last three hexadecimal: cell and area, the
/// tracking area where the network has no location areas.
void readCell(const std::string& text, std::optional<std::int64_t>& cell,
              std::optional<std::int64_t>& area);

}  // namespace zorva
