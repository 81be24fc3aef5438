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
  /// An item that the service delivers to its connections.
  struct Delivery {
    std::optional<std::string> topic;  ///< of a message; the token has none
    Dictionary userInfo;
    Value::Data token;
  };

  SimPushService(SimParts& parts, NotificationCentre& notifications);

  std::unique_ptr<PushConnection> createConnection(const std::string& environment) override;

  /// Opens or ends the stream and reports that, unless it is in that state already.
  void setConnected(bool connected);
  /// The stream fails, which closes it.
  void failStream();
  /// A message for the device. While there is no stream, it is queued.
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
