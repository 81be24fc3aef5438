// The small services: accounts, device information, processes, system log.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/LinuxAccountDatabase.h"
#include "platform/linux/LinuxDeviceInformation.h"
#include "platform/linux/LinuxProcessTable.h"
#include "platform/linux/LinuxSystemLog.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

TEST(LinuxAccountDatabase, FindsUsersBothWays) {
  LinuxAccountDatabase accounts;
  const auto root = accounts.idsOfUser("root");
  ASSERT_TRUE(root);
  EXPECT_EQ(root->user, 0u);
  EXPECT_EQ(accounts.nameOfUser(0), "root");
  EXPECT_FALSE(accounts.idsOfUser("no such user"));
  EXPECT_FALSE(accounts.nameOfUser(4000000000u));
}

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

constexpr const char* kMessage = "50% %s\nzorva: forged \x1b[31m";
constexpr const char* kShown = "50% %s\\x0azorva: forged \\x1b[31m";

// In a mount namespace of its own, where the sockets of the journal and of syslog are ours.
int logToPrivateSockets() {
  if (::unshare(CLONE_NEWNS) != 0 ||
      ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
      ::mount("none", "/run", "tmpfs", 0, nullptr) != 0 ||
      ::mount("none", "/dev", "tmpfs", 0, nullptr) != 0) {
    return 77;
  }
  const auto receiver = [](const char* path) {
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string(path).copy(address.sun_path, sizeof address.sun_path - 1);
    return ::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? socket : -1;
  };
  const auto received = [](int socket) {
    char buffer[1024];
    const ssize_t length = ::recv(socket, buffer, sizeof buffer, 0);
    return std::string(buffer, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  };
  LinuxSystemLog log;
  const int syslog = receiver("/dev/log");
  log.write(kMessage);
  if (received(syslog).find(std::string("]: ") + kShown) == std::string::npos) return 1;
  fs::create_directories("/run/systemd/journal");
  const int journal = receiver("/run/systemd/journal/socket");
  log.write(kMessage);
  const std::string fields = "\n" + received(journal);
  if (fields.find("\nMESSAGE=" + std::string(kShown) + "\n") == std::string::npos) return 2;
  if (fields.find("\nSYSLOG_IDENTIFIER=zorva\n") == std::string::npos) return 3;
  return received(syslog).empty() ? 0 : 4;
}

TEST(LinuxSystemLog, PrefersJournalToSyslog) {
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) ::_exit(logToPrivateSockets());
  int status;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  if (WEXITSTATUS(status) == 77) GTEST_SKIP() << "no mount namespace to be had";
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
}  // namespace zorva
