// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVPushNotificationLogger.h"

#include "core/Preferences.h"
#include "platform/base/Text.h"

namespace zorva {
namespace {

struct StreamEvent {
  const char* notification;
  const char* body;
};
constexpr StreamEvent kStreamEvents[] = {
    {kPushStreamOpened, " type=opened_stream;"},
    {kPushStreamEnded, " type=stream_ended;"},
    {kPushStreamError, " type=stream_error;"},
    {kPushSentFilter, " type=sent_filter_message;"},
    {kPushReceivedMessage, " type=received_message_message;"},
    {kPushSentKeepAlive, " type=sent_keep_alive_message;"},
};

}  // namespace

std::unique_ptr<ZVPushNotificationLogger> ZVPushNotificationLogger::logger(
    const Services& services, PushService& push, PreferencesStore& preferences) {
  return std::unique_ptr<ZVPushNotificationLogger>(
      new ZVPushNotificationLogger(services, push, preferences));
}

ZVPushNotificationLogger::ZVPushNotificationLogger(const Services& services, PushService& push,
                                                   PreferencesStore& preferences)
    : ZVLogger(services),
      preferences_(preferences),
      nmxConnection_(push.createConnection(PushService::kProduction)) {
  if (nmxConnection_) {
    scheduled_ = nmxConnection_->schedule();
    nmxConnection_->setDelegate(
        {[this](const std::string& topic, const Dictionary& userInfo) {
           connectionDidReceiveMessageForTopicUserInfo(topic, userInfo);
         },
         [this](const Value::Data& token) { connectionDidReceivePublicToken(token); }});
    nmxConnection_->setEnabledTopics({"*"});
  }
  for (const StreamEvent& event : kStreamEvents) {
    registerCallbackForOstrelNotification(streamEvent, event.notification);
  }
}

ZVPushNotificationLogger::~ZVPushNotificationLogger() {
  // Before the connection is closed: notifications that closing it posts are not logged.
  deregisterForAllOstrelNotifications();
}

void ZVPushNotificationLogger::streamEvent(ZVLogger& observer, std::string_view name) {
  for (const StreamEvent& event : kStreamEvents) {
    if (name == event.notification) {
      observer.logEntryWithBody("NMX Event", event.body);
      return;
    }
  }
}

void ZVPushNotificationLogger::connectionDidReceiveMessageForTopicUserInfo(
    const std::string& topic, const Dictionary& userInfo) {
  std::string body = formatText(" topic=%s;", safeText(topic).c_str());
  if (shouldShowNMXContents()) {
    const Value& nmx = userInfo["nmx"];
    if (!nmx.isNothing()) {
      const Dictionary* fields = nmx.dictionary();
      body += formatNMXUserInfo(fields != nullptr ? *fields : Dictionary());
    } else {
      logEntryWithBody("Zorva", Value(userInfo).dump());
      body += " contents=<unformatted>;";
    }
  }
  logEntryWithBody("NMXN", body);
}

void ZVPushNotificationLogger::connectionDidReceivePublicToken(const Value::Data&) {
  logEntryWithBody("NMX Event", " type=token_received;");  // the token itself is a secret
}

std::string ZVPushNotificationLogger::formatNMXUserInfo(const Dictionary& userInfo) {
  const auto field = [&](const char* key) { return safeText(userInfo[key].description()); };
  return formatText(" alert=%s; badge=%s; sound=%s;", field("alert").c_str(),
                    field("badge").c_str(), field("sound").c_str());
}

bool ZVPushNotificationLogger::shouldShowNMXContents() const {
  return CopyPreferenceValue(preferences_, kShowNMXContents).boolean();
}

}  // namespace zorva
