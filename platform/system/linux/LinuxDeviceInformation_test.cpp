// SPDX-License-Identifier: Apache-2.0
#include "platform/system/linux/LinuxDeviceInformation.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "platform/testing/TemporaryDirectory.h"

namespace zorva {
namespace {

TEST(LinuxDeviceInformation, DeviceNameIsFitForAFileName) {
  const DirectoryForTest root;
  LinuxDeviceInformation device(nullptr, root / "");
  const auto name = [&](const std::string& machineInfo) {
    root.write("etc/machine-info", machineInfo);
    return device.answer("UserAssignedDeviceName");
  };
  EXPECT_EQ(name("CHASSIS=handset\nPRETTY_HOSTNAME=\"Ann's \\\"Lab\\\" Phone\"\n"),
            Value("Ann's \"Lab\" Phone"));
  EXPECT_EQ(name(" PRETTY_HOSTNAME='../a\\b'  \n"), Value("..-a\\b"));
  EXPECT_EQ(name("PRETTY_HOSTNAME=a\tb\n"), Value("a\\x09b"));
  EXPECT_EQ(name("PRETTY_HOSTNAME=x" + std::string(150, '\xc3') + "\n").text()->size(), 199u)
      << "cut between two characters";
  char host[256];
  ASSERT_EQ(::gethostname(host, sizeof host), 0);
  EXPECT_EQ(name("PRETTY_HOSTNAME=\n"), Value(host));
  EXPECT_TRUE(LinuxDeviceInformation().answer("gas-gauge-battery").isNothing());
}

TEST(LinuxDeviceInformation, ReportsSystemAndModel) {
  const DirectoryForTest root;
  LinuxDeviceInformation device(nullptr, root / "");
  utsname kernel;
  ASSERT_EQ(::uname(&kernel), 0);
  const std::string linux = std::string("Linux ") + kernel.release;
  EXPECT_EQ(device.answer("BuildVersion"), Value(linux));
  root.write("usr/lib/os-release", "NAME='A B'\nVERSION=\"1 \x1b\"\nBUILD_ID=7\n");
  EXPECT_EQ(device.answer("BuildVersion"), Value("A B 1 \\x1b 7, " + linux));
  root.write("etc/os-release", "PRETTY_NAME=\"Handset OS v24 (b9)\"\nBUILD_ID=b9\n");
  EXPECT_EQ(device.answer("BuildVersion"), Value("Handset OS v24 (b9), " + linux));

  const auto model = [&](const std::string& file, const std::string& text) {
    root.write(file, text);
    return device.answer("HWModelStr");
  };
  EXPECT_EQ(model("sys/class/dmi/id/sys_vendor", "None\n"), Value());
  EXPECT_EQ(model("sys/class/dmi/id/product_name", "Pad 3\n"), Value("Pad 3"));
  EXPECT_EQ(model("sys/class/dmi/id/sys_vendor", "Maker\n"), Value("Maker Pad 3"));
  EXPECT_EQ(model("sys/class/dmi/id/product_name", "Maker Pad\n"), Value("Maker Pad"));
  EXPECT_EQ(model("sys/firmware/devicetree/base/model", std::string("Phone (1.2)\0", 12)),
            Value("Phone (1.2)"));
  EXPECT_EQ(model("etc/machine-info", "HARDWARE_VENDOR=My\nHARDWARE_MODEL=Own\n"), Value("My Own"));
}

TEST(LinuxDeviceInformation, KeyDoesNotRevealTheMachineId) {
  std::string machine;
  std::getline(std::ifstream("/etc/machine-id"), machine);
  if (machine.size() != 32) GTEST_SKIP() << "this machine has no id";
  const auto key = LinuxDeviceInformation().answer("InverseDeviceID").text();
  ASSERT_TRUE(key);
  EXPECT_EQ(key->size(), 32u);
  EXPECT_EQ(key->find_first_not_of("0123456789abcdef"), key->npos);
  EXPECT_NE(*key, machine);
  EXPECT_EQ(LinuxDeviceInformation().answer("InverseDeviceID"), Value(*key));
}

}  // namespace
}  // namespace zorva
