// SPDX-License-Identifier: Apache-2.0
#include "apps/NotifyCommand.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/base/Descriptor.h"
#include "platform/loop/linux/LinuxRunLoop.h"
#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/system/SystemLog.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {
namespace {

TEST(NotifyCommand, SetsStateAndPosts) {
  const DirectoryForTest top;
  const NotificationDirectories directories{top / "zorva", {}, {}};
  LinuxRunLoop loop;
  struct : SystemLog {
    void write(std::string_view message) override { ADD_FAILURE() << message; }
  } log;
  LinuxSystemNotifications centre(loop, log, directories);
  const auto run = [&](const std::vector<std::string>& arguments) {
    char said[1000] = {};
    std::FILE* stream = ::fmemopen(said, sizeof said, "w");
    const int status = notifyCommand(arguments, directories, stream, stream);
    std::fclose(stream);
    return std::to_string(status) + said;
  };
  std::string observed;
  const Registration a = centre.observe(
      "a", [&](std::string_view) { observed += std::to_string(*centre.state("a")) + " "; });
  const Registration end = centre.observe("end", [&](std::string_view) { loop.stop(); });
  const auto observedSoFar = [&] {
    observed.clear();
    if (run({"end"}) == "0") loop.run();
    return observed;
  };
  EXPECT_EQ(run({"a", "--state", "0xFFFFFFFFFFFFFFFF"}), "0");
  EXPECT_EQ(run({"nobody"}), "0");
  EXPECT_EQ(observedSoFar(), "18446744073709551615 ");
  std::filesystem::remove_all(directories.own + "/states");
  top.write("zorva/states", "in the way");
  EXPECT_TRUE(run({"a", "--state", "2"}).starts_with("1zorva-notify: Cannot open the directory '"));
  EXPECT_EQ(observedSoFar(), "") << "not posted without its state";

  // A full queue does not block.
  for (int posts = 0; run({"end"}) == "0"; ++posts) ASSERT_LT(posts, 100000);
  EXPECT_TRUE(run({"a"}).starts_with("1zorva-notify: 1 daemon(s) in '"));
}

TEST(NotifyCommand, RootReachesOnlyItsOwnDaemonsIfAsked) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root reaches the daemons of others";
  constexpr uid_t kUser = 1234;
  const DirectoryForTest top;
  const NotificationDirectories directories{top / "zorva", {}, top / "users"};
  const std::string user = directories.users + "/1234/zorva";
  std::filesystem::create_directories(user);
  const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (user + "/1-0.socket").copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  for (const std::string& path :
       {directories.users + "/1234", user, std::string(address.sun_path)}) {
    ASSERT_EQ(::chown(path.c_str(), kUser, kUser), 0);
  }
  char byte;
  EXPECT_EQ(notifyCommand({"a", "--own"}, directories, stdout, stderr), 0);
  EXPECT_EQ(::recv(socket.get(), &byte, 1, 0), -1);
  EXPECT_EQ(notifyCommand({"a"}, directories, stdout, stderr), 0);
  EXPECT_EQ(::recv(socket.get(), &byte, 1, 0), 1);
}

}  // namespace
}  // namespace zorva
