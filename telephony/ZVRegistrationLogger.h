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

/// Logs the registration on the cellular network: at each snapshot, and when a notification changes
/// any item. Cell, area and home are unknown until the first notification that contains them.
///
///     11/16/26 14:07:16 [Registration] operator=Sim Mobile; lac=35; cell_id=4711; home=yes;
///     data_attached=yes; data_active=no; data_indicator=3G; status=RegisteredHome;
class ZVRegistrationLogger : public ZVTelephonyConnectedLogger {
 public:
  static std::unique_ptr<ZVRegistrationLogger> loggerWithConnection(
      const Services& services, TelephonyNotifications& notifications, const Connection& connection,
      Telephony& telephony);

  /// Writes one entry and clears `changed`.
  void log() override;

  /// The server's value without its prefix, or "<unknown>".
  static std::string humanReadableDataIndicator(const std::optional<std::string>& indicator);
  static std::string humanReadableRegistrationStatus(const std::optional<std::string>& status);

  template <typename Item>
  using Optional = const std::optional<Item>&;

  Optional<std::int64_t> cellID() const { return cellID_; }
  Optional<std::int64_t> lac() const { return lac_; }
  Optional<bool> dataAttached() const { return dataAttached_; }
  Optional<bool> dataActive() const { return dataActive_; }
  Optional<std::string> dataIndicator() const { return dataIndicator_; }
  Optional<bool> homeNetwork() const { return homeNetwork_; }
  Optional<std::string> registrationStatus() const { return registrationStatus_; }
  Optional<std::string> operatorName() const { return operatorName_; }

  // Setting an item to another value counts as a change; so does setting one that has no value,
  // even to no value again.
  void setCellID(Optional<std::int64_t> cellID) { set(cellID_, cellID); }
  void setLac(Optional<std::int64_t> lac) { set(lac_, lac); }
  void setDataAttached(Optional<bool> attached) { set(dataAttached_, attached); }
  void setDataActive(Optional<bool> active) { set(dataActive_, active); }
  void setDataIndicator(Optional<std::string> indicator) { set(dataIndicator_, indicator); }
  void setHomeNetwork(Optional<bool> home) { set(homeNetwork_, home); }
  void setRegistrationStatus(Optional<std::string> status) { set(registrationStatus_, status); }
  void setOperatorName(Optional<std::string> name) { set(operatorName_, name); }

  /// Whether an item has changed since the last entry.
  bool isChanged() const { return changed_; }
  void setChanged(bool changed) { changed_ = changed; }

 private:
  ZVRegistrationLogger(const Services& services, TelephonyNotifications& notifications,
                       const Connection& connection, Telephony& telephony);

  template <typename Item>
  void set(std::optional<Item>& item, Optional<Item> value) {
    if (item && item == value) return;
    item = value;
    changed_ = true;
  }
  void handleNotification(std::string_view name, const Dictionary& information);

  std::optional<std::int64_t> cellID_;
  std::optional<std::int64_t> lac_;
  std::optional<bool> dataAttached_;
  std::optional<bool> dataActive_;
  std::optional<std::string> dataIndicator_;
  std::optional<bool> homeNetwork_;
  std::optional<std::string> registrationStatus_;
  std::optional<std::string> operatorName_;
  bool changed_ = false;
};

}  // namespace zorva
