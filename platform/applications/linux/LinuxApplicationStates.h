// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>
#include <systemd/sd-event.h>

#include "platform/applications/ApplicationStates.h"
#include "platform/applications/linux/ApplicationUnits.h"
#include "platform/base/Observers.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/system/SystemLog.h"

namespace zorva {

/// The applications that desktop sessions run in control groups of their own
/// (docs/linux-services.md). An application that runs in several is reported for each, and is
/// running if any of them is.
class LinuxApplicationStates : public ApplicationStates {
 public:
  static constexpr const char* kRoot = "/sys/fs/cgroup";
  static constexpr const char* kInhibitors = "/run/systemd/inhibit";

  enum State : std::int32_t { Gone, Frozen, Running };
  /// What a lock of the login manager inhibits.
  enum Reason : std::int32_t { Sleep, Idle, Shutdown, Other };

  /// The event loop and the system log must outlive this object. If the kernel refuses a watch, so
  /// that changes may be missed, one line goes to the system log.
  LinuxApplicationStates(sd_event* event, SystemLog& systemLog, std::string root = kRoot,
                         std::string inhibitors = kInhibitors);

  Registration observe(std::function<void(const ApplicationStateChange&)> changed) override;
  void beginGenerating() override;
  void endGenerating() override;
  /// Each once, in alphabetical order. All are active, and none is debuggable.
  std::vector<std::string> copyDisplayIdentifiers(bool onlyActive, bool onlyDebuggable) override;
  /// The first process of the application's first control group.
  std::optional<std::int32_t> processOf(const std::string& displayIdentifier) override;
  std::int32_t stateOf(const std::string& displayIdentifier) override;
  std::string descriptionOfState(std::int32_t state) override;
  std::string nameOfReason(std::int32_t reason) override;

 private:
  struct Watched {
    LinuxApplicationStates* owner;
    std::string path;
    EventSource source;
    bool ended = false;  ///< the watched path has been removed
  };

  ApplicationUnits units();
  ApplicationUnits readAndWatch();
  void update();
  void notify(const ApplicationUnit& unit, State state);
  void reportRefusal(const std::string& path, int error);
  void endBelow(const std::string& path);
  static int pathChanged(sd_event_source*, const struct inotify_event* event, void* watched);

  sd_event* event_;
  SystemLog& systemLog_;
  std::string root_;
  std::string inhibitors_;
  int generating_ = 0;
  bool refusalReported_ = false;
  ApplicationUnits known_;  ///< while generating
  std::map<std::string, std::unique_ptr<Watched>> watched_;
  CoalescedCall update_;
  Observers<const ApplicationStateChange&> observers_;
};

}  // namespace zorva
