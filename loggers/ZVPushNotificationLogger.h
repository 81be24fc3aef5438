// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "core/ZVLogger.h"
#include "platform/push/PushService.h"
#include "platform/storage/PreferencesStore.h"

namespace zorva {

/// Logs the traffic of the push service: its stream's events, and every message with its topic and,
/// if the preference "ZVShowNMXContents" is set, with its contents. Has no snapshot.
///
///     11/16/26 14:07:16 [NMX Event] type=received_message_message;
///     11/16/26 14:07:16 [NMXN] topic=news; alert=Hi; badge=3; sound=(null);
///
/// Without a push service there are no messages; stream events are still logged.
class ZVPushNotificationLogger : public ZVLogger {
 public:
  static std::unique_ptr<ZVPushNotificationLogger> logger(const Services& services,
                                                          PushService& push,
                                                          PreferencesStore& preferences);
  ~ZVPushNotificationLogger() override;

  void connectionDidReceiveMessageForTopicUserInfo(const std::string& topic,
                                                   const Dictionary& userInfo);
  void connectionDidReceivePublicToken(const Value::Data& token);

  /// The fields of a payload's part for the service.
  static std::string formatNMXUserInfo(const Dictionary& userInfo);

  /// Read on every call.
  bool shouldShowNMXContents() const;

 private:
  ZVPushNotificationLogger(const Services& services, PushService& push,
                           PreferencesStore& preferences);

  static void streamEvent(ZVLogger& observer, std::string_view name);

  PreferencesStore& preferences_;
  std::unique_ptr<PushConnection> nmxConnection_;  ///< none without a push service
  Registration scheduled_;
};

}  // namespace zorva
