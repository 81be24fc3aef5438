// SPDX-License-Identifier: Apache-2.0
// What the notification centre promises, on the simulated handset and over a run directory.

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "platform/assemble/SimHandset.h"
#include "platform/loop/linux/LinuxRunLoop.h"
#include "platform/notifications/linux/LinuxSystemNotifications.h"
#include "platform/notifications/linux/NotificationStates.h"
#include "platform/testing/ChildProcess.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

using State = std::optional<std::uint64_t>;

// Other processes post, and set states; nothing makes one unreadable.
struct SimWorld {
  SimHandset handset;
  SimSystemNotifications& centre = handset.notifications();
  void post(const std::vector<std::string>& names) {
    for (const auto& name : names) centre.post(name);
  }
  void set(const std::string& name, State state) { centre.setState(name, state); }
};
struct LinuxWorld {
  DirectoryForTest root;
  NotificationDirectories directories{root / "run", {}, {}};
  LoopForTest loop;
  SimSystemLog log;
  LinuxSystemNotifications centre{loop, log, directories};
  void post(const std::vector<std::string>& names) {
    for (const auto& name : names) EXPECT_EQ(postNotification(directories, name).problem, "");
    loop.drain();
  }
  void set(const std::string& name, State state) {
    if (!state) return root.write("run/states/" + name, "x");
    std::string problem;
    EXPECT_TRUE(setNotificationState(directories, name, *state, problem)) << problem;
  }
};

template <typename World>
class NotificationsContract : public testing::Test {
 protected:
  World world_;
};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(NotificationsContract, Worlds);

TYPED_TEST(NotificationsContract, EveryPostReachesItsObserversUntilTheyEnd) {
  TypeParam world;
  NotificationCentre& centre = world.centre;
  std::string heard;
  const auto hearing = [&](const std::string& mark) {
    return [&heard, mark](std::string_view name) { heard += mark + std::string(name) + " "; };
  };
  world.post({"a"});
  Registration first = centre.observe("a", hearing("1"));
  Registration own, dropped, other;
  own = centre.observe("a", [&](std::string_view) {
    heard += "own ";
    own.reset();
    dropped.reset();
  });
  dropped = centre.observe("a", hearing("dropped"));
  other = centre.observe("b", hearing("2"));
  world.post({"a", "A", "b", "c", "a", "a"});
  EXPECT_EQ(std::exchange(heard, ""), "1a own 2b 1a 1a ") << "none posted before";

  // Dropped by a callback while further posts wait; and a post from inside one.
  const Registration last = centre.observe("a", [&](std::string_view) {
    other.reset();
    centre.post("d");
  });
  const Registration nested = centre.observe("d", hearing("3"));
  world.post({"a", "b"});
  EXPECT_EQ(std::exchange(heard, ""), "1a 3d ");
  first.reset();
  centre.post("a");
  EXPECT_EQ(heard, "3d ") << "before it returns";
}

TYPED_TEST(NotificationsContract, AStateIsWhatWasSetLast) {
  NotificationCentre& centre = this->world_.centre;
  EXPECT_EQ(centre.state("a"), 0u);
  for (const State state : {State(~std::uint64_t{0}), State(0), State(), State(6)}) {
    this->world_.set("a", state);
    EXPECT_EQ(centre.state("a"), state);
    EXPECT_EQ(centre.state("b"), 0u);
  }
}

namespace fs = std::filesystem;

constexpr uid_t kStranger = 1234;

bool becomeStranger() {
  return ::setresgid(kStranger, kStranger, kStranger) == 0 &&
         ::setresuid(kStranger, kStranger, kStranger) == 0;
}

class LinuxSystemNotificationsTest : public testing::Test {
 protected:
  PostResult post(const std::string& name) { return postNotification(directories_, name); }
  Registration listen(const std::string& name) {
    return centre_.observe(name, [this](std::string_view heard) {
      heard_ += std::string(heard) + " ";
      if (heard == "end") loop_.stop();
    });
  }
  // What is heard of the posts so far, by a daemon that listens to "end".
  std::string heard() {
    heard_.clear();
    if (post("end").delivered > 0) loop_.run();
    return heard_;
  }
  static sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
  }
  static Descriptor bound(const std::string& path, int type = SOCK_DGRAM) {
    Descriptor socket(::socket(AF_UNIX, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const sockaddr_un address = addressOf(path);
    EXPECT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return socket;
  }
  // Sends the daemon raw bytes, with a descriptor along.
  bool sendRaw(std::string bytes) const {
    const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address =
        addressOf(directories_.own + "/" + std::to_string(::getpid()) + "-0.socket");
    iovec content{bytes.data(), bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{&address, sizeof address, &content, 1, control, sizeof control, 0};
    cmsghdr* part = CMSG_FIRSTHDR(&message);
    *part = {CMSG_LEN(sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
    const int passed = STDERR_FILENO;
    std::memcpy(CMSG_DATA(part), &passed, sizeof passed);
    return ::sendmsg(socket.get(), &message, MSG_DONTWAIT) == static_cast<ssize_t>(content.iov_len);
  }

  DirectoryForTest top_;
  NotificationDirectories directories_{top_ / "zorva", {}, {}};
  LinuxRunLoop loop_;
  SimSystemLog log_;
  LinuxSystemNotifications centre_{loop_, log_, directories_};
  std::string heard_;
};

TEST_F(LinuxSystemNotificationsTest, GarbageChangesNothing) {
  const Registration a = listen("a");
  const Registration end = listen("end");
  const auto descriptors = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  EXPECT_EQ(heard(), "end ");  // in its first round, the loop closes what its sources needed
  const auto before = descriptors();
  for (const std::string& bytes :
       {std::string(), std::string("a"), std::string("ZVN1"), std::string("ZVN1a\0", 6),
        "ZVN1" + std::string(129, 'a'), "ZVN1a" + std::string(2000, 'a'), std::string("ZVN2a")}) {
    EXPECT_TRUE(sendRaw(bytes));
  }
  EXPECT_EQ(heard(), "end ");
  EXPECT_TRUE(sendRaw("ZVN1a"));
  EXPECT_EQ(heard(), "a end ");
  EXPECT_EQ(descriptors(), before) << "descriptors sent along are closed";
}

TEST_F(LinuxSystemNotificationsTest, RootReachesEveryUserAndIsLedNowhere) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  const Registration a = listen("a");
  directories_.users = top_ / "users";
  fs::create_directories(directories_.users + "/1234");
  ::chown((directories_.users + "/1234").c_str(), kStranger, kStranger);
  const std::string users = directories_.users + "/1234/zorva";
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  ChildForTest daemon([&] {
    std::string problem;
    const auto socket = becomeStranger() ? NotificationSocket::make(users, problem) : nullptr;
    if (::write(ready[1], "r", 1) != 1 || !socket) return 1;
    pollfd readable{socket->descriptor(), POLLIN, 0};
    if (::poll(&readable, 1, 20000) != 1) return 2;  // the limit is for a test that fails
    return socket->takePosts() == std::vector<std::string>{"a"} ? 0 : 3;
  });
  char byte;
  ::close(ready[1]);
  ASSERT_EQ(::read(ready[0], &byte, 1), 1);
  EXPECT_EQ(post("a").delivered, 2) << "both root's and the user's daemon";
  EXPECT_EQ(daemon.status(), 0);

  // What the user plants leads root nowhere.
  const Descriptor victim = bound(top_ / "victim");
  const Descriptor stream = bound(users + "/stream.socket", SOCK_STREAM);
  fs::create_symlink(top_ / "victim", users + "/link.socket");
  fs::create_hard_link(top_ / "victim", users + "/second.socket");
  ::mkfifo((users + "/pipe.socket").c_str(), 0666);
  ::chown((users + "/stream.socket").c_str(), kStranger, kStranger);
  EXPECT_EQ(post("a").delivered, 1) << "root's own";
  fs::rename(users, top_ / "elsewhere");
  fs::create_symlink(directories_.own, users);
  EXPECT_EQ(post("a").delivered, 1);
  EXPECT_EQ(::recv(victim.get(), &byte, 1, 0), -1);
  EXPECT_TRUE(fs::exists(top_ / "victim"));
}

TEST_F(LinuxSystemNotificationsTest, UnsafeDirectoryIsRefusedAndReported) {
  fs::create_directory(top_ / "real");
  fs::create_symlink(top_ / "real", directories_.own);
  EXPECT_FALSE(listen("a") || listen("b"));
  EXPECT_EQ(log_.takeLines().size(), 1u);
  EXPECT_FALSE(post("a").problem.empty());
  fs::remove(directories_.own);
  fs::create_directory(directories_.own);
  ::chmod(directories_.own.c_str(), 0777);
  EXPECT_FALSE(listen("a"));
  EXPECT_NE(log_.takeLines().at(0).find("'" + directories_.own + "' must belong to user"),
            std::string::npos);
  ::chmod(directories_.own.c_str(), 0755);
  EXPECT_TRUE(listen("a")) << "tried again";
}

TEST_F(LinuxSystemNotificationsTest, StatesPersist) {
  std::string problem;
  const auto set = [&](const NotificationDirectories& in, std::uint64_t state) {
    return setNotificationState(in, "a", state, problem);
  };
  EXPECT_EQ(centre_.state("../a"), std::nullopt);
  EXPECT_TRUE(set(directories_, 5));

  // Of the user's state and root's, the later one holds.
  const NotificationDirectories both{directories_.own, top_ / "shared", {}};
  EXPECT_TRUE(set({both.shared, {}, {}}, 6));
  int later = 0;
  for (const auto& [path, state] : {std::pair(both.shared, 6u), std::pair(both.own, 5u)}) {
    fs::last_write_time(path + "/states/a",
                        fs::file_time_type::clock::now() + std::chrono::seconds(later += 10));
    EXPECT_EQ(readNotificationState(both, "a"), state);
  }

  for (const char* garbage : {"", "x", "1x\n", "1", "18446744073709551616\n", "-1\n", "1\n\n"}) {
    top_.write("zorva/states/a", garbage);
    EXPECT_EQ(centre_.state("a"), std::nullopt) << garbage;
  }
  Registration source = centre_.provideState("a", [] { return std::optional<std::uint64_t>(7); });
  EXPECT_EQ(centre_.state("a"), 7u);
  source.reset();
  EXPECT_TRUE(set(directories_, 8));
  EXPECT_EQ(centre_.state("a"), 8u) << "over garbage";

  if (::geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  ASSERT_EQ(::chown((top_ / "zorva/states/a").c_str(), kStranger, kStranger), 0);
  EXPECT_EQ(centre_.state("a"), std::nullopt);
}

}  // namespace
}  // namespace zorva
