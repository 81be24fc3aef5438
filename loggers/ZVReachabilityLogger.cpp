// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVReachabilityLogger.h"

#include <string>

#include "platform/base/Text.h"

namespace zorva {

std::unique_ptr<ZVReachabilityLogger> ZVReachabilityLogger::logger(const Services& services,
                                                                   Reachability& reachability) {
  std::unique_ptr<ZVReachabilityLogger> made(new ZVReachabilityLogger(services));
  if (!made->watch(reachability)) return nullptr;
  return made;
}

bool ZVReachabilityLogger::watch(Reachability& reachability) {
  const IPv4SocketAddress anywhere;
  reachabilityRef_ = reachability.createTarget(anywhere);
  const auto changed = [this](std::uint32_t flags) { logReachabilityFlags(flags); };
  if (!reachabilityRef_ || !reachabilityRef_->setCallback(changed)) {
    logError("Unable to register a reachability callback");
    return false;
  }
  scheduled_ = reachabilityRef_->schedule();
  return true;
}

void ZVReachabilityLogger::log() {
  if (const auto flags = reachabilityRef_->flags()) logReachabilityFlags(*flags);
}

void ZVReachabilityLogger::logReachabilityFlags(std::uint32_t flags) {
  const auto word = [&](std::uint32_t bit) { return yesOrNo((flags & bit) != 0); };
  std::string body = formatText(" transient=%s;", word(reachability::kTransient));
  body += formatText(" reachable=%s;", word(reachability::kReachable));
  body += formatText(" conn_required=%s;", word(reachability::kConnectionRequired));
  body += formatText(" conn_traffic=%s;", word(reachability::kConnectionOnTraffic));
  body += formatText(" intervention=%s;", word(reachability::kInterventionRequired));
  body += formatText(" on_demand=%s;", word(reachability::kConnectionOnDemand));
  body += formatText(" wwan=%s;", word(reachability::kIsWWAN));
  logEntryWithBody("Reachability", body);
}

}  // namespace zorva
