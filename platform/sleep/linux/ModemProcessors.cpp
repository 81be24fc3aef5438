// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/ModemProcessors.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <string_view>
#include <unistd.h>
#include <utility>

#include "platform/base/Descriptor.h"
#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

// "qcom,sdm845-mss-pil", "qcom,sc7280-mpss-pas", "qcom,waipio-modem-pas"; sensors, audio and Wi-Fi
// are slpi, adsp and wpss.
bool isModem(std::string_view compatible) {
  constexpr std::string_view kEnds(",-\0", 3);
  for (const std::string_view word : {"mss", "mpss", "modem"}) {
    for (std::size_t at = compatible.find(word); at != compatible.npos;
         at = compatible.find(word, at + 1)) {
      const std::size_t end = at + word.size();
      if (at > 0 && kEnds.find(compatible[at - 1]) != kEnds.npos &&
          (end == compatible.size() || kEnds.find(compatible[end]) != kEnds.npos)) {
        return true;
      }
    }
  }
  return false;
}

// An interrupt of a link in the device tree: two numbers, whose meaning its controller gives.
using Specifier = std::pair<std::uint32_t, std::uint32_t>;

// The last three cells of the property, without the flags. Read raw: an attribute would lose the
// bytes that look like blanks.
std::optional<Specifier> readSpecifier(const std::string& property) {
  const Descriptor file(::open(property.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  std::array<std::uint8_t, 64> bytes;
  const ssize_t length = file ? ::read(file.get(), bytes.data(), bytes.size()) : -1;
  if (length != 12 && length != 16) return std::nullopt;
  const auto cell = [&](std::size_t at) {
    return static_cast<std::uint32_t>(bytes[at]) << 24 | bytes[at + 1] << 16 | bytes[at + 2] << 8 |
           bytes[at + 3];
  };
  const auto first = static_cast<std::size_t>(length) - 12;
  return Specifier(cell(first), cell(first + 4));
}

bool isOf(const Specifier& specifier, const std::string& chip, std::int64_t hardwareNumber) {
  // Who sent it, and which of its signals it is: they are all the modem's.
  if (chip == "ipcc") return hardwareNumber >> 16 == specifier.first;
  // A shared peripheral interrupt; those begin at 32.
  return chip.starts_with("GIC") && specifier.first == 0 &&
         hardwareNumber == std::int64_t{specifier.second} + 32;
}

std::vector<Specifier> readLinks(const std::string& node) {
  std::vector<Specifier> links;
  for (const char* link : {"/glink-edge/", "/smd-edge/"}) {
    for (const char* property : {"interrupts", "interrupts-extended"}) {
      if (const auto read = readSpecifier(node + link + property)) links.push_back(*read);
    }
  }
  return links;
}

}  // namespace

bool isProcessorLink(std::string_view handlers) {
  while (!handlers.empty()) {
    const std::string_view handler = handlers.substr(0, handlers.find(','));
    for (const char* link : {"glink-smem", "glink-native", "smd-edge", "ipcc"}) {
      if (handler.substr(0, handler.find('_')) == link) return true;  // "ipcc_0"
    }
    handlers.remove_prefix(std::min(handlers.size(), handler.size() + 1));
  }
  return false;
}

std::vector<ModemDevice> readModemProcessors(const std::string& sysfs,
                                             const std::set<std::int64_t>& interrupts) {
  std::vector<ModemDevice> modems;
  const std::string directory = sysfs + "/class/remoteproc";
  for (const std::string& name : entryNames(directory)) {
    std::error_code error;
    ModemDevice modem;
    modem.path = fs::canonical(directory + "/" + name + "/device", error).string();
    const std::string node = modem.path + "/of_node";
    if (error || !isModem(readAttribute(node + "/compatible").value_or(""))) continue;
    const std::vector<Specifier> links = readLinks(node);
    for (const std::int64_t number : interrupts) {
      const std::string interrupt = sysfs + "/kernel/irq/" + std::to_string(number);
      const std::string chip = readAttribute(interrupt + "/chip_name").value_or("");
      const auto hardwareNumber = readNumber(interrupt + "/hwirq");
      if (hardwareNumber && std::any_of(links.begin(), links.end(), [&](const Specifier& link) {
            return isOf(link, chip, *hardwareNumber);
          })) {
        modem.interrupts.insert(number);
      } else if (isProcessorLink(readAttribute(interrupt + "/actions").value_or(""))) {
        modem.sharedInterrupts.insert(number);
      }
    }
    modems.push_back(std::move(modem));
  }
  return modems;
}

}  // namespace zorva
