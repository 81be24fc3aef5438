// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/LinuxKernelValues.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>

#include "platform/kit/loop/ClockJumps.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {
namespace {

constexpr const char* kPciModem = "devices/pci0/0000:00:1c.0/0000:02:00.0";
constexpr const char* kUsbModem = "devices/pci0/0000:00:14.0/usb1/1-3";
constexpr const char* kKeyboard = "devices/pci0/0000:00:14.0/usb1/1-4";
constexpr const char* kModemProcessor = "devices/platform/soc@0/4080000.remoteproc";
constexpr const char* kSensorProcessor = "devices/platform/soc@0/5c00000.remoteproc";
constexpr const char* kSocModem = "devices/platform/soc/4080000.remoteproc";

// A machine with three modems, of which a case tells those that are known as such, a keyboard on
// the USB modem's host controller, a clock and a power key.
class Machine {
 public:
  Machine() {
    for (const auto& [number, name] : std::map<int, std::string>{{8, "rtc0"},
                                                                 {9, "acpi"},
                                                                 {25, "xhci_hcd"},
                                                                 {40, "mhi"},
                                                                 {41, "mhi"},
                                                                 {50, "qcom-q6v5-mss,other"},
                                                                 {51, "modemmanager"},
                                                                 {52, "smd-modem"},
                                                                 {53, "aipa"},
                                                                 {54, ""}}) {
      const std::string directory = "kernel/irq/" + std::to_string(number);
      write(directory + "/actions", name + "\n");
      write(directory + "/chip_name", "IO-APIC\n");
      write(directory + "/name", "edge\n");
    }
    write("devices/pci0/0000:00:14.0/irq", "25\n");
    write("devices/pci0/0000:00:1c.0/irq", "0\n");
    write(std::string(kPciModem) + "/msi_irqs/40", "msi\n");
    write(std::string(kUsbModem) + "/idVendor", "1199\n");
    write(std::string(kKeyboard) + "/idVendor", "1234\n");
    write(std::string(kSocModem) + "/modalias", "x\n");
    std::filesystem::create_symlink("../../../../bus/platform/drivers/qcom-q6v5-mss",
                                    directory_ / (std::string(kSocModem) + "/driver"));
    device("wakeup0", kPciModem);
    device("wakeup1", std::string(kUsbModem) + "/1-3:1.0");
    device("wakeup2", kKeyboard);
    device("wakeup3", "devices/platform/gpio-keys");
    device("wakeup5", "devices/pnp0/00:04");
    std::filesystem::create_directories(directory_ / "devices/pnp0/00:04/rtc/rtc0");
    std::filesystem::create_symlink("../../../bus/pnp/drivers/rtc_cmos",
                                    directory_ / "devices/pnp0/00:04/driver");
    using std::string_literals::operator""s;
    processor("remoteproc0", kSensorProcessor, "qcom,sdm845-slpi-pas\0"s);
    write(kSensorProcessor + "/of_node/glink-edge/interrupts"s, "\0\0\0\0\0\0\0\xaa\0\0\0\1"s);
    processor("remoteproc1", kModemProcessor, "qcom,sdm845-mss-pil\0qcom,q6v5-pil\0"s);
    write(kModemProcessor + "/of_node/glink-edge/interrupts"s, "\0\0\0\0\0\0\1\xc1\0\0\0\1"s);
    write(kModemProcessor + "/of_node/glink-edge/interrupts-extended"s,
          "\0\0\0\x9\0\0\0\2\0\0\0\0\0\0\0\1"s);
    device("wakeup6", kModemProcessor + "/remoteproc/remoteproc1/x:glink-edge.IPCRTR.-1.-1"s);
    device("wakeup7", kSensorProcessor + "/remoteproc/remoteproc0/y:glink-edge.IPCRTR.-1.-1"s);
    interrupt(60, "glink-smem", "GICv3", 481);
    interrupt(61, "glink-smem", "GICv3", 202);
    interrupt(62, "smp2p,other", "ipcc", (2 << 16) + 3);
    interrupt(63, "glink-smem", "ipcc", 3 << 16);
    interrupt(64, "ipcc_0", "GICv3", 261);
    interrupt(65, "pm8xxx_rtc_alarm", "pmic_arb", 481);
    interrupt(66, "remoteproc:bam-dmux", "smsm", 1);
  }
  // The next sleep: nothing is known of a wake.
  void reset() const {
    std::filesystem::remove_all(directory_ / "power");
    std::filesystem::remove_all(directory_ / "kernel/wakeup_reasons");
    int number = 0;
    for (const char* name : {"0000:02:00.0", "1-3", "1-4", "gpio-keys", "modem_wakeup", "00:04",
                             "4080000.remoteproc:glink-edge.IPCRTR.-1.-1",
                             "5c00000.remoteproc:glink-edge.IPCRTR.-1.-1"}) {
      const std::string entry = "wakeup" + std::to_string(number++);
      write("class/wakeup/" + entry + "/name", std::string(name) + "\n");
      speak(entry, 5, 0, 100, 40);
    }
    for (const char* event : {"gpe17", "gpe6E", "gpeFF", "ff_pwr_btn", "ff_gbl_lock"}) {
      count(event, 7, "  EN     enabled      unmasked");
    }
    for (const char* sum : {"gpe_all", "sci", "sci_not", "error"}) count(sum, 20, "");
  }
  void write(const std::string& name, const std::string& text) const {
    directory_.write(name, text);
  }
  // The source speaks up: its counts, the time of that or of its silence after it, for how long it
  // has spoken in all, and now.
  void speak(const std::string& entry, int events, int wakeups, std::int64_t time, int total = 0,
             int active = 0) const {
    const std::string directory = "class/wakeup/" + entry;
    write(directory + "/total_time_ms", std::to_string(total) + "\n");
    write(directory + "/active_time_ms", std::to_string(active) + "\n");
    write(directory + "/event_count", std::to_string(events) + "\n");
    write(directory + "/wakeup_count", std::to_string(wakeups) + "\n");
    write(directory + "/last_change_ms", std::to_string(time) + "\n");
  }
  void count(const std::string& event, int count, const char* state) const {
    write("firmware/acpi/interrupts/" + event, "       " + std::to_string(count) + state + "\n");
  }
  void wokenBy(int interrupt) const {
    write("power/pm_wakeup_irq", std::to_string(interrupt) + "\n");
  }
  std::string operator/(const std::string& name) const { return directory_ / name; }

 private:
  void device(const std::string& entry, const std::string& device) const {
    std::filesystem::create_directories(directory_ / device);
    std::filesystem::create_directories(directory_ / ("class/wakeup/" + entry));
    std::filesystem::create_symlink(directory_ / device,
                                    directory_ / ("class/wakeup/" + entry + "/device"));
  }
  // One of the processors inside the machine's own.
  void processor(const std::string& entry, const std::string& path,
                 const std::string& compatible) const {
    write(path + "/of_node/compatible", compatible);
    std::filesystem::create_directories(directory_ / ("class/remoteproc/" + entry));
    std::filesystem::create_symlink(directory_ / path,
                                    directory_ / ("class/remoteproc/" + entry + "/device"));
  }
  void interrupt(int number, const char* name, const char* chip, int hardwareNumber) const {
    const std::string directory = "kernel/irq/" + std::to_string(number) + "/";
    write(directory + "actions", name);
    write(directory + "chip_name", chip);
    write(directory + "hwirq", std::to_string(hardwareNumber) + "\n");
  }
  DirectoryForTest directory_;
};

TEST(LinuxKernelValues, TellsWhatWokeTheSystem) {
  struct Case {
    std::vector<std::string> modems;
    std::function<void(const Machine&)> wake;
    std::string reason;  ///< empty: none
  };
  const auto resumeReason = [](const std::string& text) {
    return [=](const Machine& machine) {
      machine.write("kernel/wakeup_reasons/last_resume_reason", text);
      machine.wokenBy(9);
      machine.speak("wakeup1", 6, 1, 200);
    };
  };
  const auto interrupt = [](int number, std::vector<int> speakers = {}) {
    return [=](const Machine& machine) {
      machine.wokenBy(number);
      int time = 200;
      for (const int speaker : speakers) {
        machine.speak("wakeup" + std::to_string(speaker), 6, 0, ++time);
      }
    };
  };
  const auto of = [&](int number, const char* action, const char* chip) {
    return [=](const Machine& machine) {
      machine.write("kernel/irq/" + std::to_string(number) + "/actions", action);
      machine.write("kernel/irq/" + std::to_string(number) + "/chip_name", chip);
      machine.wokenBy(number);
    };
  };
  const std::vector<Case> cases{
      // Wakes of real machines: a reader (github.com/OGKevin/cadmus/issues/814), a laptop by its
      // display (lkml.iu.edu/2606.1/07443.html), a tablet by its light sensor
      // (github.com/linux-surface/linux-surface/pull/2256), a console whose kernel has no answer
      // (github.com/ValveSoftware/SteamOS/issues/1558), and a phone whose Wi-Fi keeps it awake
      // (github.com/sonyxperiadev/bug_tracker/issues/596).
      {{}, of(90, "bd71828_irq", "mt-eint"), "bd71828_irq irq 90 mt-eint"},
      {{}, of(7, "pinctrl_amd", "IO-APIC"), "pinctrl_amd irq 7 IO-APIC"},
      {{}, of(14, "INT34C5:00", "IO-APIC"), "INT34C5:00 irq 14 IO-APIC"},
      {{}, [](const Machine&) {}, ""},
      {{},
       [](const Machine& machine) {
         machine.write("class/wakeup/wakeup3/name", "mgmt_txrx tx_cmp\n");
         machine.speak("wakeup3", 1, 0, 120);
       },
       "mgmt_txrx tx_cmp wakeup source"},
      // The kernel's own text.
      {{kUsbModem},
       resumeReason("57 qcom,glink-smem\n8 pm8xxx_rtc_alarm\n"),
       "57 qcom,glink-smem, 8 pm8xxx_rtc_alarm"},
      {{}, resumeReason("8 rtc\n52 wakeup\n"), "baseband 8 rtc, 52 wakeup"},
      {{kSocModem},
       resumeReason("99 4080000.remoteproc:edge"),
       "baseband 99 4080000.remoteproc:edge"},
      {{kUsbModem},
       resumeReason("Abort: Pending Wakeup Sources: 1-3"),
       "Abort: Pending Wakeup Sources: 1-3"},
      {{},
       resumeReason("1 a\x80\x1b[2J " + std::string(240, 'x') + "\xc3\xa9"),
       "1 a\xef\xbf\xbd\\x1b[2J " + std::string(240, 'x')},
      // The interrupt: the modem's by its number, its driver, or a name of modems alone.
      {{kPciModem}, interrupt(40), "baseband mhi irq 40 IO-APIC"},
      {{kPciModem}, interrupt(41), "mhi irq 41 IO-APIC"},
      {{kSocModem}, interrupt(50), "baseband qcom-q6v5-mss,other irq 50 IO-APIC"},
      {{}, interrupt(50), "qcom-q6v5-mss,other irq 50 IO-APIC"},
      {{}, interrupt(52), "baseband smd-modem irq 52 IO-APIC"},
      {{}, interrupt(53), "aipa irq 53 IO-APIC"},
      {{kPciModem}, interrupt(54), "edge irq 54 IO-APIC"},
      // Shared ones, by who was first.
      {{kUsbModem}, interrupt(25, {1, 2}), "baseband xhci_hcd irq 25 IO-APIC"},
      {{kUsbModem}, interrupt(25, {2, 1}), "xhci_hcd irq 25 IO-APIC"},
      {{kPciModem, kUsbModem}, interrupt(8, {0}), "rtc0 irq 8 IO-APIC"},
      // The firmware's, with who was first: what a driver looks after is told by its name, too.
      {{}, interrupt(9, {3, 5}), "acpi irq 9 IO-APIC, gpio-keys wakeup source"},
      {{}, interrupt(9, {5, 3}), "acpi irq 9 IO-APIC, 00:04 (rtc_cmos) wakeup source"},
      // The link to the modem inside the processor, by its number in the device tree, or by who
      // was first; sensors have links of the same name.
      {{}, interrupt(60), "baseband glink-smem irq 60 GICv3"},
      {{},
       interrupt(61, {7, 6}),
       "glink-smem irq 61 GICv3, 5c00000.remoteproc:glink-edge.IPCRTR.-1.-1 wakeup source"},
      {{}, interrupt(62), "baseband smp2p,other irq 62 ipcc"},
      {{kUsbModem},
       interrupt(63, {7, 6}),
       "glink-smem irq 63 ipcc, 5c00000.remoteproc:glink-edge.IPCRTR.-1.-1 wakeup source"},
      {{},
       interrupt(64, {6, 7}),
       "baseband ipcc_0 irq 64 GICv3, 4080000.remoteproc:glink-edge.IPCRTR.-1.-1 wakeup source"},
      {{}, interrupt(65, {6}), "pm8xxx_rtc_alarm irq 65 pmic_arb"},
      {{}, interrupt(66), "baseband remoteproc:bam-dmux irq 66 smsm"},
      {{}, resumeReason("60 glink-smem"), "baseband 60 glink-smem"},
      {{},
       interrupt(0, {6, 7}),
       "baseband 4080000.remoteproc:glink-edge.IPCRTR.-1.-1 wakeup source"},
      {{}, interrupt(0, {7, 6}), "5c00000.remoteproc:glink-edge.IPCRTR.-1.-1 wakeup source"},
      // and with the events that have occurred, of which there may be no source.
      {{},
       [](const Machine& machine) {
         machine.wokenBy(9);
         machine.count("gpe6E", 8, "         enabled      unmasked");
         machine.count("ff_gbl_lock", 8, "  EN     enabled      unmasked");
         for (const char* sum : {"gpe_all", "sci", "sci_not", "error"}) machine.count(sum, 21, "");
       },
       "acpi irq 9 IO-APIC, gpe6E"},
      {{},
       [](const Machine& machine) {
         machine.wokenBy(9);
         machine.count("ff_pwr_btn", 8, "  EN     enabled      unmasked");
         machine.count("gpe17", 9, "  EN STS enabled      unmasked");
         machine.speak("wakeup3", 6, 0, 200);
       },
       "acpi irq 9 IO-APIC, ff_pwr_btn, gpe17, gpio-keys wakeup source"},
      // Who spoke up first may have fallen silent last, or speak still.
      {{},
       [](const Machine& machine) {
         machine.speak("wakeup2", 6, 0, 180, 40 + 30, 30);
         machine.speak("wakeup3", 6, 0, 260, 40 + 110);
       },
       "gpio-keys wakeup source"},
      {{},
       [](const Machine& machine) {
         machine.speak("wakeup2", 6, 0, 150, 40 + 90, 90);
         machine.speak("wakeup3", 6, 0, 260, 40 + 100);
       },
       "1-4 wakeup source"},
      // Sources alone.
      {{}, interrupt(0, {3, 5}), "00:04 (rtc_cmos) wakeup source"},  // a clock's alarm comes late
      {{},
       [](const Machine& machine) {
         machine.write("devices/pnp0/00:04/rtc/rtc0/wakealarm",
                       "1795623977\n");  // is still to come
         machine.speak("wakeup3", 6, 0, 201);
         machine.speak("wakeup5", 6, 0, 202);
       },
       "gpio-keys wakeup source"},
      {{kUsbModem, "qrtr://0", "/"},
       [](const Machine& machine) {
         machine.speak("wakeup2", 6, 0, 150);
         machine.speak("wakeup1", 6, 1, 250);
       },
       "baseband 1-3 wakeup source"},
      {{kUsbModem},
       [](const Machine& machine) {
         // A new device under an old entry, and one that has only fallen silent.
         machine.write("class/wakeup/wakeup3/name", "lid\n");
         machine.speak("wakeup3", 1, 0, 120);
         machine.speak("wakeup1", 5, 0, 110);
       },
       "lid wakeup source"},
      {{},
       [](const Machine& machine) { machine.speak("wakeup4", 6, 0, 150); },
       "baseband modem_wakeup wakeup source"},
      {{kUsbModem}, [](const Machine& machine) { machine.write("power/pm_wakeup_irq", ""); }, ""},
  };
  const Machine machine;
  for (const Case& each : cases) {
    SCOPED_TRACE(std::to_string(&each - cases.data()) + ": " + each.reason);
    machine.reset();
    std::vector<std::string> modems;
    for (const std::string& modem : each.modems) {
      modems.push_back(modem.starts_with("devices") ? machine / modem : modem);
    }
    LinuxKernelValues kernel([&] { return std::exchange(modems, {}); }, machine / "");
    kernel.systemWillSleep();
    each.wake(machine);
    kernel.systemDidWake(true);
    machine.speak("wakeup2", 50, 50, 1);  // what comes later counts no more
    std::array<char, 256> buffer;
    std::size_t size = 0, filled = 0;
    EXPECT_EQ(kernel.sizeOf("kern.wakereason", size), each.reason.empty() ? ENOENT : 0);
    EXPECT_EQ(kernel.read("kern.wakereason", buffer, filled), each.reason.empty() ? ENOENT : 0);
    EXPECT_EQ(filled, size);
    if (filled > 0) {
      EXPECT_EQ(buffer[filled - 1], '\0');
      EXPECT_EQ(buffer.data(), each.reason);
    }
  }
}

TEST(LinuxKernelValues, AreFitForALineOfTextAndNeverGuessed) {
  const Machine machine;
  machine.reset();
  machine.write("cmdline", "  quiet\tsplash\x01 \n");
  LinuxKernelValues kernel({}, machine / "", machine / "");
  std::size_t size = 0, filled = 0;
  std::array<char, 64> buffer;
  EXPECT_EQ(kernel.read("kern.bootargs", buffer, filled), 0);
  EXPECT_STREQ(buffer.data(), "quiet\\x09splash\\x01");
  // A sleep that was not announced may have begun long after the last wake.
  kernel.systemWillSleep();
  kernel.systemDidWake(true);
  const std::int64_t now = clockTime(CLOCK_MONOTONIC) / 1'000'000;
  machine.speak("wakeup2", 9, 9, now - 60'000);
  machine.count("gpe17", 12, "  EN     enabled      unmasked");
  kernel.systemDidWake(false);
  EXPECT_EQ(kernel.sizeOf("kern.wakereason", size), ENOENT);
  machine.speak("wakeup2", 10, 9, now - 60'000);
  machine.speak("wakeup3", 7, 0, now - 100);
  kernel.systemDidWake(false);
  EXPECT_EQ(kernel.read("kern.wakereason", buffer, filled), 0);
  EXPECT_STREQ(buffer.data(), "gpio-keys wakeup source");
  // What woke it once does not stand for the next wake, nor an event at any time since.
  machine.wokenBy(9);
  machine.count("gpe17", 13, "  EN     enabled      unmasked");
  kernel.systemDidWake(false);
  EXPECT_EQ(kernel.read("kern.wakereason", buffer, filled), 0);
  EXPECT_STREQ(buffer.data(), "acpi irq 9 IO-APIC");
}

}  // namespace
}  // namespace zorva
