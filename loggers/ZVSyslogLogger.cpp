// SPDX-License-Identifier: Apache-2.0
#include "loggers/ZVSyslogLogger.h"

#include <chrono>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/BatteryNotifications.h"
#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr std::uint32_t kInitialMessages = 10;

std::uint32_t idOf(const SystemLogMessage& message) {
  const std::string text = message.field("SLQMessageID").value_or("");
  return static_cast<std::uint32_t>(std::strtoll(text.c_str(), nullptr, 10));
}

// The bytes up to the limit, without a character that extends beyond it.
std::string_view cutTo(std::size_t limit, std::string_view text) {
  if (text.size() <= limit) return text;
  for (std::size_t back = 1; back <= 3 && back <= limit; ++back) {
    if (sequenceLength(text.substr(limit - back)) > back) return text.substr(0, limit - back);
  }
  return text.substr(0, limit);
}

}  // namespace

std::unique_ptr<ZVSyslogLogger> ZVSyslogLogger::logger(const Services& services,
                                                       SystemLogQueries& facility) {
  return std::unique_ptr<ZVSyslogLogger>(new ZVSyslogLogger(services, facility));
}

ZVSyslogLogger::ZVSyslogLogger(const Services& services, SystemLogQueries& facility)
    : ZVLogger(services), facility_(facility) {
  if (const auto everything = facility_.createQuery()) {
    enumerateResultsOfSLQQueryUsingBlock(*everything, nullptr);
  }
  if (lastMessageID_ > kInitialMessages) lastMessageID_ -= kInitialMessages;
  logOnNotification(kBatteryStatusDidChange);
}

void ZVSyslogLogger::log() {
  const auto query = facility_.createQuery();
  if (!query) return;
  // The query takes a signed number; the facility converts it back to the id.
  const std::string last = formatText("%d", static_cast<std::int32_t>(lastMessageID_));
  if (const int error =
          query->set("SLQMessageID", last, SystemLogQuery::kNumeric | SystemLogQuery::kGreater)) {
    logError("slq_set_query failed with error code %d", error);
    return;
  }
  int count = 0;
  enumerateResultsOfSLQQueryUsingBlock(*query, [&](const SystemLogMessage& message, std::uint32_t) {
    if (count == 0) logSeparator();
    logMessage(message);
    ++count;
  });
  if (count != 0) logSeparator();
}

void ZVSyslogLogger::enumerateResultsOfSLQQueryUsingBlock(const SystemLogQuery& query,
                                                          const Step& step) {
  const auto response = facility_.search(query);
  if (!response) return;
  int count = 0;
  while (const SystemLogMessage* message = response->next()) {
    const std::uint32_t id = idOf(*message);
    if (id <= lastMessageID_) {
      logEntryWithBody("Zorva", formatText(" Syslog query returned a duplicate result (%d,%d)",
                                           static_cast<std::int32_t>(id),
                                           static_cast<std::int32_t>(lastMessageID_)));
      ++lastMessageID_;
      return;
    }
    lastMessageID_ = id;
    if (step) step(*message, id);
    if (++count == kMaxResults) {
      logEntryWithBody("Zorva", " Syslog query exceeded maximum number of results");
      return;
    }
  }
}

void ZVSyslogLogger::logMessage(const SystemLogMessage& message) {
  const auto shown = [&](const char* key) { return safeText(textOrNull(message.field(key))); };
  std::string body = formatText(" %s[%s]: ", shown("Sender").c_str(), shown("PID").c_str());
  body += safeText(cutTo(kMaxMessageBytes, textOrNull(message.field("Message"))));
  const std::int64_t time = facility_.parseTime(message.field("Time").value_or(""));
  logEntryWithBodyForDate("Syslog", body, Date(std::chrono::seconds(time)));
}

}  // namespace zorva
