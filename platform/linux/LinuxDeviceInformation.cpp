#include "platform/linux/LinuxDeviceInformation.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <unistd.h>

#include "platform/Text.h"

namespace zorva {
namespace {

constexpr std::size_t kLongestName = 200;

// The value of one assignment as a shell would take it: in quotes, with backslashes, or plain.
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

std::string prettyHostName(const std::string& path) {
  static constexpr std::string_view kKey = "PRETTY_HOSTNAME=";
  std::string name;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    line.erase(0, std::min(line.find_first_not_of(" \t"), line.size()));
    line.erase(line.find_last_not_of(" \t\r") + 1);
    if (line.starts_with(kKey)) name = unquoted(line.substr(kKey.size()));
  }
  return name;
}

std::string hostName() {
  char name[256] = "";
  if (::gethostname(name, sizeof name - 1) != 0 || std::string_view(name) == "(none)") return "";
  return name;
}

std::string fitForFileName(std::string name) {
  name = safeText(name);
  std::replace(name.begin(), name.end(), '/', '-');
  if (name.size() <= kLongestName) return name;
  std::size_t end = kLongestName;
  while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80) --end;
  return name.substr(0, end);
}

}  // namespace

Value LinuxDeviceInformation::answer(const std::string& key) {
  if (key == "UserAssignedDeviceName") {
    std::string name = prettyHostName(root_ + "/etc/machine-info");
    if (name.empty()) name = hostName();
    return name.empty() ? Value() : Value(fitForFileName(name));
  }
  if (key == "gas-gauge-battery" && gasGaugeBattery_) return gasGaugeBattery_();
  return {};
}

}  // namespace zorva
