// SPDX-License-Identifier: Apache-2.0
#include "platform/system/linux/LinuxDeviceInformation.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <sys/utsname.h>
#include <systemd/sd-id128.h>
#include <unistd.h>

#include "platform/base/Text.h"
#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

constexpr std::size_t kMaxNameLength = 200;

// The value of one assignment as a shell would parse it: in quotes, with backslashes, or plain.
std::string unquoted(const std::string& text) {
  std::string value;
  char quote = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\\' && quote != '\'' && i + 1 < text.size()) {
      value += text[++i];
    } else if (quote == 0 && (c == '"' || c == '\'')) {
      quote = c;
    } else if (c == quote && quote != 0) {
      quote = 0;
    } else {
      value += c;
    }
  }
  return value;
}

// The value of the last assignment to the name in the file; empty if there is none.
std::string assigned(const std::string& path, const std::string& name) {
  std::string value;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    line.erase(0, std::min(line.find_first_not_of(" \t"), line.size()));
    line.erase(line.find_last_not_of(" \t\r") + 1);
    if (line.starts_with(name + "=")) value = unquoted(line.substr(name.size() + 1));
  }
  return value;
}

std::string joined(const std::string& first, const char* separator, const std::string& second) {
  return first.empty() || second.empty() ? first + second : first + separator + second;
}

std::string hostName() {
  char name[256] = "";
  if (::gethostname(name, sizeof name - 1) != 0 || std::string_view(name) == "(none)") return "";
  return name;
}

std::string fitForFileName(std::string name) {
  name = safeText(name);
  std::replace(name.begin(), name.end(), '/', '-');
  if (name.size() <= kMaxNameLength) return name;
  std::size_t end = kMaxNameLength;
  while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80) --end;
  return name.substr(0, end);
}

// "Debian GNU/Linux 12 (bookworm) 20240101, Linux 6.1.0-18-arm64": the system's name, its build
// number if it has one, and the running kernel, which is updated separately.
std::string buildVersion(const std::string& root) {
  std::string path = root + "/etc/os-release";
  if (::access(path.c_str(), R_OK) != 0) path = root + "/usr/lib/os-release";
  std::string version = assigned(path, "PRETTY_NAME");
  if (version.empty()) {
    version = joined(assigned(path, "NAME"), " ", assigned(path, "VERSION"));
  }
  if (const std::string build = assigned(path, "BUILD_ID"); version.find(build) == version.npos) {
    version = joined(version, " ", build);
  }
  utsname kernel;
  if (::uname(&kernel) != 0) return version;
  return joined(version, ", ", std::string(kernel.sysname) + " " + kernel.release);
}

// Placeholders that vendors leave in the firmware's fields.
bool placeholder(const std::string& text) {
  static constexpr std::string_view kPlaceholders[] = {"To Be Filled By O.E.M.",
                                                       "To be filled by O.E.M.",
                                                       "Default string",
                                                       "System Product Name",
                                                       "System manufacturer",
                                                       "Not Specified",
                                                       "Not Applicable",
                                                       "None",
                                                       "O.E.M.",
                                                       "INVALID"};
  return std::find(std::begin(kPlaceholders), std::end(kPlaceholders), text) !=
         std::end(kPlaceholders);
}

std::string firmwareText(const std::string& path) {
  const std::string text = readAttribute(path).value_or("");
  return placeholder(text) ? "" : text;
}

std::string hardwareModel(const std::string& root) {
  if (const auto model = assigned(root + "/etc/machine-info", "HARDWARE_MODEL"); !model.empty()) {
    return joined(assigned(root + "/etc/machine-info", "HARDWARE_VENDOR"), " ", model);
  }
  if (auto model = firmwareText(root + "/sys/firmware/devicetree/base/model"); !model.empty()) {
    return model;
  }
  const std::string vendor = firmwareText(root + "/sys/class/dmi/id/sys_vendor");
  const std::string product = firmwareText(root + "/sys/class/dmi/id/product_name");
  return product.starts_with(vendor) ? product : joined(vendor, " ", product);
}

// A keyed hash of the machine's id, which can neither be reversed nor be compared with the hashes
// of other programs.
std::string crashReportKey() {
  static constexpr sd_id128_t kZorva =
      SD_ID128_MAKE(b4, 6e, 1d, 70, 92, 3f, 4c, 58, 8a, 07, d5, e1, 3b, c9, 64, 2f);
  sd_id128_t key;
  if (::sd_id128_get_machine_app_specific(kZorva, &key) < 0) return "";
  char text[SD_ID128_STRING_MAX];
  return ::sd_id128_to_string(key, text);
}

Value textOrNothing(const std::string& text) {
  return text.empty() ? Value() : Value(safeText(text));
}

}  // namespace

Value LinuxDeviceInformation::answer(const std::string& key) {
  if (key == "UserAssignedDeviceName") {
    std::string name = assigned(root_ + "/etc/machine-info", "PRETTY_HOSTNAME");
    if (name.empty()) name = hostName();
    return name.empty() ? Value() : Value(fitForFileName(name));
  }
  if (key == "BuildVersion") return textOrNothing(buildVersion(root_));
  if (key == "HWModelStr") return textOrNothing(hardwareModel(root_));
  if (key == "InverseDeviceID") return textOrNothing(crashReportKey());
  if (key == "gas-gauge-battery" && gasGaugeBattery_) return gasGaugeBattery_();
  return {};
}

}  // namespace zorva
