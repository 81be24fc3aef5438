// The small services: device information and process names.

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "platform/linux/LinuxDeviceInformation.h"
#include "platform/linux/LinuxProcessTable.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

TEST(LinuxProcessTable, ReadsAnyName) {
  LinuxProcessTable processes;
  char before[16];
  ::prctl(PR_GET_NAME, before);
  ::prctl(PR_SET_NAME, "a b) \n\xff");
  EXPECT_EQ(processes.commandName(::getpid()), "a b) \n\xff");
  ::prctl(PR_SET_NAME, before);
  EXPECT_FALSE(processes.commandName(0));
  EXPECT_FALSE(processes.commandName(-1));
  EXPECT_FALSE(processes.commandName(0x7fffffff));
}

TEST(LinuxDeviceInformation, NamesDeviceFitForFileName) {
  std::string root = fs::temp_directory_path() / "zorva-device-XXXXXX";
  ASSERT_NE(::mkdtemp(root.data()), nullptr);
  fs::create_directory(root + "/etc");
  LinuxDeviceInformation device([] { return Value(true); }, root);
  const auto name = [&](const std::string& machineInfo) {
    std::ofstream(root + "/etc/machine-info") << machineInfo;
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
  fs::remove_all(root);
  EXPECT_EQ(device.answer("UserAssignedDeviceName"), Value(host));
  EXPECT_EQ(device.answer("gas-gauge-battery"), Value(true));
  EXPECT_TRUE(LinuxDeviceInformation().answer("gas-gauge-battery").isNothing());
  EXPECT_TRUE(device.answer("other").isNothing());
}

}  // namespace
}  // namespace zorva
