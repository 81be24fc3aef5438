#pragma once

#include <string>
#include <vector>

#include "platform/Clock.h"
#include "platform/PowerManagement.h"
#include "platform/sim/SimFaults.h"
#include "platform/sim/SimSystemNotifications.h"

namespace zorva {

/// The power-management service. Processes are listed in the order in which they first took an
/// assertion, each one's assertions in the order in which they were taken.
class SimPowerManagement : public PowerManagement {
 public:
  static constexpr const char* kAssertionsChanged = "com.vennor.system.powermanagement.assertions";

  SimPowerManagement(SimFaults& faults, const Clock& clock, SimSystemNotifications& notifications)
      : clock_(clock),
        notifications_(notifications),
        copyAssertionsFault_(faults, "powerManagement.copyAssertionsByProcess") {}

  std::optional<std::vector<ProcessAssertions>> copyAssertionsByProcess() override;

  /// Takes an assertion for the process, started now, and tells the change.
  void take(std::int32_t process, const std::string& name);
  /// The same with a whole record, which may lack any key.
  void takeRecord(std::int32_t process, Dictionary record);
  /// Releases the process's oldest assertion of the name and tells the change; false when it holds
  /// none.
  bool release(std::int32_t process, const std::string& name);
  /// Releases all that the process holds, and tells the change when there was anything.
  void releaseAll(std::int32_t process);

 private:
  void tellChange() { notifications_.post(kAssertionsChanged); }

  const Clock& clock_;
  SimSystemNotifications& notifications_;
  SimFaultPoint copyAssertionsFault_;
  std::vector<ProcessAssertions> held_;
};

}  // namespace zorva
