// SPDX-License-Identifier: Apache-2.0
#include "telephony/ZVConfigLogger.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "core/LogFile.h"
#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr double kDefaultBacklightLevel = 0.5;
// The preferences domain of the display's settings.
constexpr const char* kDisplayDomain = "com.vennor.lumbrel";

std::string safeOrNull(const std::optional<std::string>& text) {
  return safeText(textOrNull(text));
}

}  // namespace

std::unique_ptr<ZVConfigLogger> ZVConfigLogger::loggerWithConnection(
    const Services& services, TelephonyNotifications& notifications, const Connection& connection,
    const Sources& sources) {
  return initWithConnection(services, connection, [&] {
    return std::unique_ptr<ZVConfigLogger>(
        new ZVConfigLogger(services, notifications, connection, sources));
  });
}

ZVConfigLogger::ZVConfigLogger(const Services& services, TelephonyNotifications& notifications,
                               const Connection& connection, const Sources& sources)
    : ZVTelephonyConnectedLogger(services, notifications, connection), sources_(sources) {}

void ZVConfigLogger::log() {
  std::string body = formatText(" version=%d;", kLogVersion);
  body += formatText(" build=%s;", safeOrNull(buildVersion()).c_str());
  body += formatText(" device=%s;", safeOrNull(hardwareModel()).c_str());
  body += formatText(" fb_key=%s;", safeOrNull(faultboxKey()).c_str());
  body += formatText(" boot_args=%s;", safeOrNull(bootArgs()).c_str());
  body += formatText(" auto_lock=%d;", autolockTime());
  body += formatText(" backlight=%.3f;", backlightLevel());
  body += formatText(" als=%s;", alsEnabled() ? "enabled" : "disabled");
  body += formatText(" baseband=%s;", safeText(basebandFirmware()).c_str());
  body += batteryFields();
  logEntryWithBody("Config", body);
}

std::optional<std::string> ZVConfigLogger::buildVersion() const {
  return deviceText("BuildVersion");
}

std::optional<std::string> ZVConfigLogger::faultboxKey() const {
  return deviceText("InverseDeviceID");
}

std::optional<std::string> ZVConfigLogger::hardwareModel() const {
  return deviceText("HWModelStr");
}

std::optional<std::string> ZVConfigLogger::bootArgs() {
  std::size_t size = 0;
  if (sources_.kernel.sizeOf("kern.bootargs", size) != 0) {
    logError("unable to retrieve size of kern.bootargs");
    return std::nullopt;
  }
  std::vector<char> buffer(size);
  std::size_t filled = 0;
  if (sources_.kernel.read("kern.bootargs", buffer, filled) != 0) {
    logError("unable to retrieve kern.bootargs");
    return std::nullopt;
  }
  const std::string_view bytes(buffer.data(), std::min(filled, size));
  return std::string(trimmed(bytes.substr(0, bytes.find('\0'))));
}

std::int32_t ZVConfigLogger::autolockTime() const {
  return sources_.profile.effectiveValue(kAutoLockTime).integer32();
}

double ZVConfigLogger::backlightLevel() {
  const Value level = preference("LBBacklightLevel2");
  if (!level.isNothing()) return level.real();
  logError("Unable to read LBBacklightLevel2, assuming the value is the default of %f",
           kDefaultBacklightLevel);
  return kDefaultBacklightLevel;
}

bool ZVConfigLogger::alsEnabled() const {
  const Value enabled = preference("LBEnableALS");
  return enabled.isNothing() || enabled.boolean();
}

std::string ZVConfigLogger::basebandFirmware() const {
  const auto version = telephonyConnection()->basebandFirmwareVersion();
  return version && !version->empty() ? *version : "<none>";
}

std::optional<std::string> ZVConfigLogger::deviceText(const char* key) const {
  return sources_.battery.device.answer(key).text();
}

Value ZVConfigLogger::preference(const char* key) const {
  return sources_.preferences.value({kDisplayDomain, "mobile"}, key);
}

std::string ZVConfigLogger::batteryFields() const {
  ZVBatteryProperties battery(sources_.battery);
  if (!battery.gasGaugeEnabled()) {
    return " cycle_count=<unknown>; max_capacity=<unknown>; design_capacity=<unknown>;";
  }
  return formatText(" cycle_count=%d;", battery.cycleCount()) +
         formatText(" max_capacity=%.0f;", battery.maxCapacity()) +
         formatText(" design_capacity=%d;", battery.designCapacity());
}

}  // namespace zorva
