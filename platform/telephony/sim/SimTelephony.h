// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/scenario/SimParts.h"
#include "platform/telephony/Telephony.h"
#include "platform/telephony/sim/SimTelephonyNotifications.h"

namespace zorva {

/// What the telephony library knows. Every setter posts on the telephony notification centre,
/// except that of airplane mode. Values of the server carry its prefixes.
class SimTelephony : public Telephony {
 public:
  /// Each may be unknown.
  struct Signal {
    std::optional<std::int32_t> raw;      ///< dBm
    std::optional<std::int32_t> percent;  ///< 0 to 100
    std::optional<std::int32_t> bars;
  };
  /// What only notifications report, never the library.
  struct Cell {
    std::optional<std::int64_t> id;
    std::optional<std::int64_t> areaCode;
  };
  struct Network {
    std::optional<std::string> status;
    std::optional<bool> home;  ///< reported by notifications only
  };
  struct Data {
    bool attached = false;
    bool active = false;  ///< of context 0, the only one
    std::optional<std::string> indicator;
  };

  SimTelephony(SimParts& parts, SimTelephonyNotifications& notifications);

  std::int32_t currentCallCount() override { return static_cast<std::int32_t>(calls_.size()); }
  std::optional<std::vector<Call>> copyCurrentCalls() override;
  void signalStrength(std::int32_t& raw, std::int32_t& graded, std::int32_t& bars) override;
  std::optional<std::string> simStatus() override;
  bool dataAttached() override { return data_.attached; }
  bool dataContextActive(std::int32_t context) override { return context == 0 && data_.active; }
  std::optional<std::string> dataIndicator() override;
  std::optional<std::string> registrationStatus() override;
  std::optional<std::string> copyOperatorName() override;
  bool airplaneMode() override { return airplaneMode_; }

  /// Sets the statuses of calls by their ids; nothing ends a call. A new id is a new call.
  using CallChanges = std::vector<std::pair<std::int32_t, std::optional<std::int32_t>>>;
  void setCalls(const CallChanges& changes);
  bool hasActiveCall() const;
  const Signal& signal() const { return signal_; }
  void setSignal(const Signal& signal);
  void setSimStatus(std::optional<std::string> status);
  const Cell& cell() const { return cell_; }
  void setCell(const Cell& cell);
  const Network& network() const { return network_; }
  void setNetwork(Network network);
  const Data& data() const { return data_; }
  void setData(Data data);
  void setOperatorName(std::optional<std::string> name);
  void setAirplaneMode(bool on) { airplaneMode_ = on; }

 private:
  SimTelephonyNotifications& notifications_;
  SimFaultPoint callsFault_;
  SimFaultPoint signalFault_;
  SimFaultPoint simFault_;
  SimFaultPoint indicatorFault_;
  SimFaultPoint registrationFault_;
  SimFaultPoint operatorFault_;
  std::vector<std::pair<std::int32_t, std::int32_t>> calls_;  ///< ids and statuses, oldest first
  Signal signal_;
  std::optional<std::string> simStatus_;
  Cell cell_;
  Network network_;
  Data data_;
  std::optional<std::string> operatorName_;
  bool airplaneMode_ = false;
};

}  // namespace zorva
