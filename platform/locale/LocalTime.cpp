// SPDX-License-Identifier: Apache-2.0
#include "platform/locale/LocalTime.h"

#include <cstdlib>
#include <fstream>
#include <optional>
#include <string_view>

namespace zorva {
namespace {

constexpr const char* kDatabase = "/usr/share/zoneinfo/";

// Sets the zone of the process: the C library has no other way to use another zone.
class ProcessZone {
 public:
  explicit ProcessZone(const std::string& zone) {
    if (const char* own = std::getenv("TZ")) own_ = own;
    setenv("TZ", (":" + std::string(kDatabase) + zone).c_str(), 1);
  }
  ProcessZone(const ProcessZone&) = delete;
  ProcessZone& operator=(const ProcessZone&) = delete;
  ~ProcessZone() {
    if (own_) {
      setenv("TZ", own_->c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

 private:
  std::optional<std::string> own_;
};

}  // namespace

std::tm localTime(Date date) {
  tzset();
  const std::time_t seconds = secondsSinceEpoch(date);
  std::tm local{};
  localtime_r(&seconds, &local);
  return local;
}

std::tm localTimeIn(const std::string& zone, Date date) {
  const ProcessZone process(zone);
  return localTime(date);
}

std::string zoneAbbreviation(Date date) {
  const std::tm local = localTime(date);
  return local.tm_zone != nullptr ? local.tm_zone : "";
}

std::string zoneAbbreviationIn(const std::string& zone, Date date) {
  const ProcessZone process(zone);
  return zoneAbbreviation(date);
}

bool isTimeZone(const std::string& zone) {
  constexpr std::string_view kMark = "TZif";
  constexpr std::string_view kLetters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_+-/";
  if (zone.find_first_not_of(kLetters) != zone.npos || zone.starts_with('/')) return false;
  char begin[kMark.size()] = {};
  std::ifstream(kDatabase + zone, std::ios::binary).read(begin, sizeof begin);
  return std::string_view(begin, sizeof begin) == kMark;
}

}  // namespace zorva
