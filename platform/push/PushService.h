// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/base/Registration.h"
#include "platform/base/Value.h"

namespace zorva {

/// A client's connection to the push service. Destroying it closes the connection.
class PushConnection {
 public:
  virtual ~PushConnection() = default;

  /// The connection's events, delivered on the run loop while it is scheduled there.
  struct Delegate {
    std::function<void(const std::string& topic, const Dictionary& userInfo)> receivedMessage;
    std::function<void(const Value::Data& token)> receivedPublicToken;
  };
  virtual void setDelegate(Delegate delegate) = 0;
  virtual Registration schedule() = 0;
  /// "*" is every topic.
  virtual void setEnabledTopics(const std::vector<std::string>& topics) = 0;
};

/// The push-notification service. It posts the events of its own stream as system notifications.
class PushService {
 public:
  virtual ~PushService() = default;
  static constexpr const char* kProduction = "production";
  /// A connection in the environment, or null if there is no such service.
  virtual std::unique_ptr<PushConnection> createConnection(const std::string& environment) = 0;
};

/// The push service's system notifications: the events of its stream.
inline constexpr const char* kPushStreamOpened = "NMXDidOpenConnectionStream";
inline constexpr const char* kPushStreamEnded = "NMXDidEncounterStreamEnd";
inline constexpr const char* kPushStreamError = "NMXDidEncounterStreamError";
inline constexpr const char* kPushSentFilter = "NMXDidSendFilterMessage";
// Spelled as in the service.
inline constexpr const char* kPushReceivedMessage = "NMXDidRecieveMessageMessage";
inline constexpr const char* kPushSentKeepAlive = "NMXDidSendKeepAliveMessage";

}  // namespace zorva
