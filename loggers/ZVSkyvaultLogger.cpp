// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVSkyvaultLogger.h"

namespace zorva {
namespace {

struct Event {
  const char* notification;
  const char* body;
};
constexpr Event kEvents[] = {
    {"VKSSRPingGoingOut", " type=ping;"},
    {"VKSSRInboxNotificationReceived", " type=inbox_notification;"},
    {"VKSSRSyncNotificationReceived", " type=sync_notification;"},
    {"VKSSRTRKDNotificationReceived", " type=trkd_notification;"},
};

void logEvent(ZVLogger& observer, std::string_view name) {
  for (const Event& event : kEvents) {
    if (name == event.notification) {
      observer.logEntryWithBody("Skyvault Event", event.body);
      return;
    }
  }
}

}  // namespace

std::unique_ptr<ZVSkyvaultLogger> ZVSkyvaultLogger::logger(const Services& services) {
  return std::unique_ptr<ZVSkyvaultLogger>(new ZVSkyvaultLogger(services));
}

ZVSkyvaultLogger::ZVSkyvaultLogger(const Services& services) : ZVLogger(services) {
  for (const Event& event : kEvents) {
    registerCallbackForOstrelNotification(logEvent, event.notification);
  }
}

}  // namespace zorva
