// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/base/Observers.h"
#include "platform/notifications/NotificationCentre.h"
#include "platform/push/PushService.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The push service, with its one stream open at first. It has only the production environment.
class SimPushService : public PushService {
 public:
  /// What the service hands its connections.
  struct Delivery {
    std::optional<std::string> topic;  ///< of a message; without one it is the token
    Dictionary userInfo;
    Value::Data token;
  };

  SimPushService(SimParts& parts, NotificationCentre& notifications);

  std::unique_ptr<PushConnection> createConnection(const std::string& environment) override;

  /// Opens or ends the stream and reports it, unless it is so already.
  void setConnected(bool connected);
  /// The stream fails, and is closed thereby.
  void failStream();
  /// A message for the device. One that comes while there is no stream waits for it.
  void sendMessage(const std::string& topic, Dictionary userInfo);
  void sendPublicToken(Value::Data token);

 private:
  void receiveWaiting();

  NotificationCentre& notifications_;
  SimFaultPoint createConnectionFault_;
  bool connected_ = true;
  std::vector<Delivery> waiting_;
  Observers<const Delivery&> scheduled_;
};

}  // namespace zorva
