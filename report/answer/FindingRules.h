// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "report/answer/Answer.h"

// Each rule is a function from the log's summary and account to a finding, or none. What a finding
// weighs is how much of the battery was used beyond what the device would have used without it.
namespace zorva::findings {

// Findings_sleep.cpp
std::optional<Finding> neverSlept(const LogSummary& summary, const Answer& answer);
std::optional<Finding> wokenOften(const LogSummary& summary, const Answer& answer);
std::optional<Finding> shallowSleep(const LogSummary& summary, const Answer& answer);

// Findings.cpp
std::vector<Finding> busyProcesses(const LogSummary& summary, const Answer& answer);
std::optional<Finding> brightDisplay(const LogSummary& summary, const Answer& answer);
std::optional<Finding> radio(const LogSummary& summary, const Answer& answer);
std::optional<Finding> heat(const LogSummary& summary, const Answer& answer);
std::optional<Finding> wornBattery(const LogSummary& summary, const Answer& answer);
std::optional<Finding> weakCharger(const LogSummary& summary, const Answer& answer);

/// Less is not worth a finding; in percent.
inline constexpr double kLeastPercent = 1;
/// Of one processor: what counts as busy.
inline constexpr double kBusy = 0.3;
inline constexpr LogTime kHour = 3600;

/// "from 22:05 to 07:30", with the days where they differ.
std::string when(LogTime from, LogTime to);
/// "87 %".
std::string shareText(double part, double whole);

}  // namespace zorva::findings
