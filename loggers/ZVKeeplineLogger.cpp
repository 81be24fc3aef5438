// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVKeeplineLogger.h"

#include <string>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::int32_t kSettingsClass = 1;
constexpr std::uint32_t kDefaultMobileUserID = 501;

}  // namespace

std::unique_ptr<ZVKeeplineLogger> ZVKeeplineLogger::logger(const Services& services,
                                                           PersistentConnections& connections,
                                                           ProcessIdentity& identity,
                                                           AccountDatabase& accounts) {
  return std::unique_ptr<ZVKeeplineLogger>(
      new ZVKeeplineLogger(services, connections, identity, accounts));
}

ZVKeeplineLogger::ZVKeeplineLogger(const Services& services, PersistentConnections& connections,
                                   ProcessIdentity& identity, AccountDatabase& accounts)
    : ZVLogger(services),
      connections_(connections),
      identity_(identity),
      mobileUserID_(kDefaultMobileUserID),
      originalUserID_(identity.effectiveUser()) {
  registerCallbackForOstrelNotification(ZVLoggerLogCallback, kIntervalCacheChanged);
  registerCallbackForOstrelNotification(ZVLoggerLogCallback,
                                        kPersistentConnectionPreferencesChanged);
  if (const auto mobile = accounts.idsOfUser("mobile")) {
    mobileUserID_ = mobile->user;
  } else {
    logError("Unable to determine mobile user id");
  }
}

void ZVKeeplineLogger::log() {
  switchProcessToMobileUser();
  const std::int32_t interval = pollingInterval();
  const bool push = pushEnabled();
  const auto caches = connections_.intervalCaches();
  switchProcessToOriginalUser();

  std::string body = formatText(" push=%s;", push ? "enabled" : "disabled");
  body += interval == PersistentConnections::kManualPolling
              ? " polling_interval=<manual>;"
              : formatText(" polling_interval=%d;", interval);
  logEntryWithBody("Keepline", body);
  for (const auto& [identifier, cache] : caches) {
    const std::string age = cache.written.has_value()
                                ? formatTimeInSeconds(secondsBetween(*cache.written, now()))
                                : "<unknown>";
    logEntryWithBody(
        "KL Client",
        formatText(" id=%s; interval=%s; cache_age=%s;", safeText(identifier).c_str(),
                   safeText(cache.keepAliveInterval.description()).c_str(), age.c_str()));
  }
}

bool ZVKeeplineLogger::pushEnabled() const {
  return connections_.pushEnabled(kSettingsClass);
}

std::int32_t ZVKeeplineLogger::pollingInterval() const {
  return connections_.pollInterval(kSettingsClass);
}

void ZVKeeplineLogger::switchProcessToMobileUser() {
  if (mobileUserID_ == originalUserID_) return;
  if (identity_.setEffectiveUser(mobileUserID_) != 0) {
    logError("Unable to change to mobile user");
  }
}

void ZVKeeplineLogger::switchProcessToOriginalUser() {
  if (mobileUserID_ == originalUserID_) return;
  if (identity_.setEffectiveUser(originalUserID_) != 0) {
    logError("Unable to change back to original user");
  }
}

}  // namespace zorva
