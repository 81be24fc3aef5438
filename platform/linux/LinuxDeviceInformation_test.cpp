#include "platform/linux/LinuxDeviceInformation.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/support/Directory_test.h"

namespace zorva {
namespace {

TEST(LinuxDeviceInformation, NamesDeviceFitForFileName) {
  const DirectoryForTest root;
  LinuxDeviceInformation device([] { return Value(true); }, root / "");
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
  EXPECT_EQ(device.answer("gas-gauge-battery"), Value(true));
  EXPECT_TRUE(LinuxDeviceInformation().answer("gas-gauge-battery").isNothing());
}

}  // namespace
}  // namespace zorva
