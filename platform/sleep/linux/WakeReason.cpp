// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/WakeReason.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string_view>
#include <tuple>
#include <utility>

#include "platform/base/Text.h"
#include "platform/kit/files/SysfsAttributes.h"
#include "platform/sleep/linux/ModemProcessors.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxReasonLength = 255;

// Drivers of cellular modems and of nothing else, as interrupts and sources are named after them.
// "mhi" and "glink" are not among them: they also serve Wi-Fi and sensor processors.
constexpr std::string_view kModemDrivers[] = {
    "qmi_wwan", "cdc_mbim", "cdc_ncm_wwan", "mhi-pci-generic", "iosm",
    "mtk_t7xx", "t7xx",     "ipa",          "bam-dmux"};
// Words that name a modem wherever they stand ("smd-modem", "modem_wakeup").
constexpr std::string_view kModemWords[] = {"modem", "mpss", "baseband"};
// Events of the firmware's that are no GPE, of those that wake a machine.
constexpr std::string_view kFixedEvents[] = {"ff_pwr_btn", "ff_slp_btn", "ff_rt_clk"};
// A device's name in the kernel that is shorter ("1-3") is found in too many places.
constexpr std::size_t kTellingName = 8;

std::string attribute(const std::string& path) {
  return readAttribute(path).value_or("");
}

template <typename Visit>
void forEachPiece(std::string_view text, std::string_view separators, Visit visit) {
  while (!text.empty()) {
    const std::string_view piece = text.substr(0, text.find_first_of(separators));
    if (!piece.empty()) visit(piece);
    text.remove_prefix(std::min(text.size(), piece.size() + 1));
  }
}

bool contains(const auto& list, std::string_view text) {
  return std::find(std::begin(list), std::end(list), text) != std::end(list);
}

bool namesModem(std::string_view text) {
  bool found = false;
  forEachPiece(text, ", :@.", [&](std::string_view piece) {
    found = found || contains(kModemDrivers, piece);
    forEachPiece(piece, "-_",
                 [&](std::string_view word) { found = found || contains(kModemWords, word); });
  });
  return found;
}

bool namesDevice(const std::string& text, const ModemDevice& modem) {
  const std::string name = fs::path(modem.path).filename().string();
  if (name.size() >= kTellingName && text.find(name) != text.npos) return true;
  bool found = false;
  if (modem.interrupts.empty()) {  // else the numbers decide
    forEachPiece(text, ", ", [&](std::string_view piece) {
      found = found || modem.drivers.count(std::string(piece)) > 0;
    });
  }
  return found;
}

bool isModems(const WakeupSource& source, const std::vector<ModemDevice>& modems) {
  return namesModem(source.name) ||
         std::any_of(modems.begin(), modems.end(), [&](const ModemDevice& modem) {
           return source.device == modem.path || source.device.starts_with(modem.path + "/");
         });
}

// One interrupt for the lid, the power button, the clock and everything else the firmware looks
// after.
bool isOfFirmware(const WakeInterrupt& interrupt) {
  return interrupt.name == "acpi" || interrupt.name.starts_with("ACPI:");
}

enum class Belongs { No, Shared, Yes };

Belongs belongsToModem(const WakeInterrupt& interrupt, const std::vector<ModemDevice>& modems) {
  if (namesModem(interrupt.name)) return Belongs::Yes;
  bool shared = isOfFirmware(interrupt);
  for (const ModemDevice& modem : modems) {
    if (modem.interrupts.count(interrupt.number) > 0 ||
        namesDevice(interrupt.name + " " + interrupt.chip, modem)) {
      return Belongs::Yes;
    }
    if (modem.sharedInterrupts.count(interrupt.number) > 0) shared = true;
  }
  return shared ? Belongs::Shared : Belongs::No;
}

WakeInterrupt readInterrupt(const std::string& sysfs, std::int64_t number) {
  const std::string directory = sysfs + "/kernel/irq/" + std::to_string(number) + "/";
  WakeInterrupt interrupt{number, attribute(directory + "actions"),
                          attribute(directory + "chip_name")};
  if (interrupt.name.empty()) interrupt.name = attribute(directory + "name");
  return interrupt;
}

// Lines that start with a number describe an interrupt.
std::vector<WakeInterrupt> interruptsIn(const std::string& reason, const std::string& sysfs) {
  std::vector<WakeInterrupt> interrupts;
  forEachPiece(reason, "\n", [&](std::string_view line) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
    if (error != std::errc{}) return;
    WakeInterrupt interrupt = readInterrupt(sysfs, number);
    interrupt.name += std::string(",") + std::string(end, line.data() + line.size());
    interrupts.push_back(std::move(interrupt));
  });
  return interrupts;
}

void readInterruptNumbers(const std::string& device, std::set<std::int64_t>& numbers) {
  if (const auto number = readNumber(device + "/irq"); number && *number > 0) {
    numbers.insert(*number);
  }
  for (const std::string& name : entryNames(device + "/msi_irqs")) {
    std::int64_t number = 0;
    if (std::from_chars(name.data(), name.data() + name.size(), number).ec == std::errc{}) {
      numbers.insert(number);
    }
  }
}

std::string driverOf(const std::string& device) {
  std::error_code error;
  return fs::read_symlink(device + "/driver", error).filename().string();
}

void readDriver(const std::string& device, std::set<std::string>& drivers) {
  const std::string driver = driverOf(device);
  // The stack's own, which every device on the bus has.
  if (!driver.empty() && driver != "usb") drivers.insert(driver);
}

std::string canonical(const std::string& path) {
  std::error_code error;
  const fs::path result = fs::canonical(path, error);
  return error ? "" : result.string();
}

std::optional<ModemDevice> readModem(const std::string& sysfs, const std::string& path) {
  const std::string devices = canonical(sysfs + "/devices");
  ModemDevice modem;
  modem.path = canonical(path);
  if (devices.empty() || !modem.path.starts_with(devices + "/")) return std::nullopt;
  readInterruptNumbers(modem.path, modem.interrupts);
  for (fs::path above = fs::path(modem.path).parent_path(); above != devices;
       above = above.parent_path()) {
    readInterruptNumbers(above.string(), modem.sharedInterrupts);
  }
  readDriver(modem.path, modem.drivers);
  for (const std::string& name : entryNames(modem.path)) {
    readDriver(modem.path + "/" + name, modem.drivers);
  }
  return modem;
}

// The device is a clock whose alarm is no longer set. One that still is has not woken the device,
// although the kernel may count an event of the clock.
bool alarmWentOff(const std::string& device) {
  const std::vector<std::string> clocks = entryNames(device + "/rtc");
  return std::any_of(clocks.begin(), clocks.end(), [&](const std::string& clock) {
    return attribute(device + "/rtc/" + clock + "/wakealarm").empty();
  });
}

// A text that cannot be a time of the kernel's must not make the sums overflow.
std::int64_t milliseconds(const std::string& path) {
  constexpr std::int64_t kMost = std::int64_t{1} << 60;
  return std::clamp<std::int64_t>(readNumber(path).value_or(0), 0, kMost);
}

std::map<std::string, WakeupCounts> readCounts(const std::string& sysfs) {
  std::map<std::string, WakeupCounts> counts;
  const std::string directory = sysfs + "/class/wakeup";
  for (const std::string& entry : entryNames(directory)) {
    const std::string source = directory + "/" + entry + "/";
    counts[entry] = {attribute(source + "name"), readNumber(source + "event_count").value_or(0),
                     readNumber(source + "wakeup_count").value_or(0),
                     milliseconds(source + "total_time_ms")};
  }
  return counts;
}

// Those that have spoken up since. What the kernel itself counted as a reason not to sleep comes
// first, then the one that was first: others are busy a moment later because the system is awake.
// `clocksFirst`: after a sleep in which the firmware ran the machine the kernel hears late of an
// alarm that has gone off, and before of a power button that was not pressed.
std::vector<WakeupSource> readSources(const std::string& sysfs, const WakeupBaseline& before,
                                      bool clocksFirst) {
  std::vector<WakeupSource> sources;
  for (const auto& [entry, now] : readCounts(sysfs)) {
    const auto found = before.sources.find(entry);
    // The entry of a device that went may have been given to another.
    const WakeupCounts then = found != before.sources.end() && found->second.name == now.name
                                  ? found->second
                                  : WakeupCounts{};
    if (now.events <= then.events) continue;
    const std::string directory = sysfs + "/class/wakeup/" + entry + "/";
    const std::int64_t changed = milliseconds(directory + "last_change_ms");
    if (changed < before.sinceMs) continue;
    // It last changed when it fell silent, or when it spoke up if it has not yet: the time for
    // which it has spoken leads back to when it began. With pauses between, it began even earlier.
    const std::int64_t speaks = milliseconds(directory + "active_time_ms");
    const std::int64_t spoke =
        std::max<std::int64_t>(0, now.totalTimeMs - speaks - then.totalTimeMs);
    const std::string device = canonical(directory + "device");
    sources.push_back({now.name, device, device.empty() ? "" : driverOf(device),
                       now.wakeups > then.wakeups, changed - spoke});
  }
  const auto rank = [&](const WakeupSource& source) {
    const bool first = clocksFirst && alarmWentOff(source.device);
    return std::tuple(!source.wakeup, !first, source.spokeUpMs);
  };
  std::stable_sort(sources.begin(), sources.end(),
                   [&](const auto& a, const auto& b) { return rank(a) < rank(b); });
  return sources;
}

// An interrupt of the firmware's stands for one of many events. The files whose names begin
// otherwise count errors, interrupts and sums.
std::map<std::string, std::int64_t> readFirmwareEvents(const std::string& sysfs) {
  std::map<std::string, std::int64_t> events;
  const std::string directory = sysfs + "/firmware/acpi/interrupts";
  for (const std::string& name : entryNames(directory)) {
    const bool isEvent =
        (name.starts_with("gpe") && name != "gpe_all") || contains(kFixedEvents, name);
    if (!isEvent) continue;
    // "      12  EN     enabled      unmasked"
    const std::string text = attribute(directory + "/" + name);
    std::int64_t count = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), count).ec == std::errc{}) {
      events[name] = count;
    }
  }
  return events;
}

std::vector<std::string> firmwareEventsSince(const std::string& sysfs,
                                             const WakeupBaseline& before) {
  std::vector<std::string> names;
  if (before.firmwareEvents.empty()) return names;
  for (const auto& [name, count] : readFirmwareEvents(sysfs)) {
    const auto found = before.firmwareEvents.find(name);
    if (found != before.firmwareEvents.end() && count > found->second) names.push_back(name);
  }
  return names;
}

std::string firstSource(const WakeEvidence& evidence) {
  if (evidence.sources.empty()) return "";
  const WakeupSource& source = evidence.sources.front();
  return source.name + (source.driver.empty() ? "" : " (" + source.driver + ")") + " wakeup source";
}

std::string cutToFit(std::string text) {
  if (text.size() <= kMaxReasonLength) return text;
  std::size_t end = kMaxReasonLength;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end);
}

}  // namespace

WakeupBaseline readWakeupBaseline(const std::string& sysfs) {
  return {readCounts(sysfs), readFirmwareEvents(sysfs), 0};
}

WakeEvidence readWakeEvidence(const std::string& sysfs, const std::optional<WakeupBaseline>& before,
                              const std::set<std::string>& modemPaths) {
  WakeEvidence evidence;
  evidence.resumeReason = attribute(sysfs + "/kernel/wakeup_reasons/last_resume_reason");
  evidence.resumeInterrupts = interruptsIn(evidence.resumeReason, sysfs);
  if (const auto number = readNumber(sysfs + "/power/pm_wakeup_irq"); number && *number > 0) {
    evidence.interrupt = readInterrupt(sysfs, *number);
  }
  if (before) {
    evidence.sources = readSources(sysfs, *before, !evidence.interrupt);
    if (evidence.interrupt && isOfFirmware(*evidence.interrupt)) {
      evidence.firmwareEvents = firmwareEventsSince(sysfs, *before);
    }
  }
  for (const std::string& path : modemPaths) {
    if (auto modem = readModem(sysfs, path)) evidence.modems.push_back(std::move(*modem));
  }
  std::set<std::int64_t> numbers;
  if (evidence.interrupt) numbers.insert(evidence.interrupt->number);
  for (const WakeInterrupt& interrupt : evidence.resumeInterrupts) numbers.insert(interrupt.number);
  for (ModemDevice& modem : readModemProcessors(sysfs, numbers)) {
    evidence.modems.push_back(std::move(modem));
  }
  return evidence;
}

bool modemWoke(const WakeEvidence& evidence) {
  std::vector<WakeInterrupt> interrupts = evidence.resumeInterrupts;
  const bool modemSpokeFirst =
      !evidence.sources.empty() && isModems(evidence.sources.front(), evidence.modems);
  if (evidence.resumeReason.empty()) {
    if (!evidence.interrupt) return modemSpokeFirst;
    interrupts.push_back(*evidence.interrupt);
  }
  return std::any_of(interrupts.begin(), interrupts.end(), [&](const WakeInterrupt& interrupt) {
    const Belongs belongs = belongsToModem(interrupt, evidence.modems);
    return belongs == Belongs::Yes || (belongs == Belongs::Shared && modemSpokeFirst);
  });
}

std::optional<std::string> wakeReason(const WakeEvidence& evidence) {
  std::string text;
  const auto append = [&](std::string_view separator, std::string_view piece) {
    if (!text.empty() && !piece.empty()) text += separator;
    text += piece;
  };
  if (!evidence.resumeReason.empty()) {
    forEachPiece(evidence.resumeReason, "\n", [&](std::string_view line) { append(", ", line); });
  } else if (evidence.interrupt) {
    append(" ", evidence.interrupt->name);
    append(" ", "irq " + std::to_string(evidence.interrupt->number));
    append(" ", evidence.interrupt->chip);
    for (const std::string& event : evidence.firmwareEvents) append(", ", event);
    if (isOfFirmware(*evidence.interrupt) || isProcessorLink(evidence.interrupt->name)) {
      append(", ", firstSource(evidence));
    }
  } else if (!evidence.sources.empty()) {
    text = firstSource(evidence);
  } else {
    return std::nullopt;
  }
  return cutToFit((modemWoke(evidence) ? "baseband " : "") + safeText(text));
}

}  // namespace zorva
