// SPDX-License-Identifier: Apache-2.0
#include "apps/NotifyCommand.h"

#include <filesystem>
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace zorva
