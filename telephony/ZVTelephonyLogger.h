// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/telephony/Telephony.h"
#include "telephony/ZVTelephonyConnectedLogger.h"

namespace zorva {

/// Logs the cellular radio: at each snapshot, at each battery-level notification, and when the
/// telephony service reports a change. The signal counts as changed if it differs by more than 5
/// dBm from that in the previous entry.
///
///     11/16/26 14:07:16 [Telephony] band=<unknown>; data=DCH; rat=UMTS; call_status=Inactive;
///     airplane_mode=off; sim=Ready; signal=-85 dBm; bars=3;
class ZVTelephonyLogger : public ZVTelephonyConnectedLogger {
 public:
  static std::unique_ptr<ZVTelephonyLogger> loggerWithConnection(
      const Services& services, TelephonyNotifications& notifications, const Connection& connection,
      Telephony& telephony);

  /// Writes one entry. It does not clear `changed`: only a telephony notification does.
  void log() override;

  /// "DCH/UTBF", "DCH", "UTBF", "inactive", or "<unknown>" if neither is known.
  std::string humanReadableDataActiveString() const;
  std::string humanReadableSimStatusString() const;

  /// In dBm, as in the last entry; 0 before the first.
  std::int32_t lastReportedSignal() const { return lastReportedSignal_; }
  void setLastReportedSignal(std::int32_t signal) { lastReportedSignal_ = signal; }
  /// Empty until the transmitter's state is reported, or if it is reported as unknown.
  std::optional<bool> inDCH() const { return inDCH_; }
  void setInDCH(std::optional<bool> inDCH) { inDCH_ = inDCH; }
  std::optional<bool> inUTBF() const { return inUTBF_; }
  void setInUTBF(std::optional<bool> inUTBF) { inUTBF_ = inUTBF; }
  const std::optional<std::string>& simStatus() const { return simStatus_; }
  /// A status different from the stored one counts as a change.
  void setSimStatus(std::optional<std::string> simStatus);
  /// Whether anything has changed since a telephony notification last wrote an entry.
  bool isChanged() const { return changed_; }
  void setChanged(bool changed) { changed_ = changed; }

 private:
  ZVTelephonyLogger(const Services& services, TelephonyNotifications& notifications,
                    const Connection& connection, Telephony& telephony);

  void handleNotification(std::string_view name, const Dictionary& information);
  void takeRadioTransmit(const Dictionary& information);

  Telephony& telephony_;
  std::int32_t lastReportedSignal_ = 0;
  std::optional<bool> inDCH_;
  std::optional<bool> inUTBF_;
  std::optional<std::string> simStatus_;
  bool changed_ = false;
};

}  // namespace zorva
