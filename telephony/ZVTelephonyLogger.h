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

/// Logs the cellular radio: at each snapshot, at each news of the battery level, and when the
/// telephony service reports a change. A signal counts as changed when it is more than 5 dBm away
/// from the strength in the entry before.
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

  /// "DCH/UTBF", "DCH", "UTBF", "inactive", or "<unknown>" when neither is known.
  std::string humanReadableDataActiveString() const;
  std::string humanReadableSimStatusString() const;

  /// In dBm, as the last entry has it; 0 before the first.
  std::int32_t lastReportedSignal() const { return lastReportedSignal_; }
  void setLastReportedSignal(std::int32_t signal) { lastReportedSignal_ = signal; }
  /// Nothing until the transmitter's state is reported, and when it is reported as unknown.
  std::optional<bool> inDCH() const { return inDCH_; }
  void setInDCH(std::optional<bool> inDCH) { inDCH_ = inDCH; }
  std::optional<bool> inUTBF() const { return inUTBF_; }
  void setInUTBF(std::optional<bool> inUTBF) { inUTBF_ = inUTBF; }
  const std::optional<std::string>& simStatus() const { return simStatus_; }
  /// A status other than the one stored counts as a change.
  void setSimStatus(std::optional<std::string> simStatus);
  /// Whether anything worth an entry has come since a telephony notification last wrote one.
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
