#include "platform/linux/LinuxSystemNotifications.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>

#include "platform/linux/LinuxRunLoop.h"
#include "platform/linux/NotificationStates.h"
#include "platform/linux/NotifyCommand.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kStranger = 1234;

// Runs the function in a process of another user and returns what it answers.
int asStranger(const std::function<int()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    const bool changed = ::setresgid(kStranger, kStranger, kStranger) == 0 &&
                         ::setresuid(kStranger, kStranger, kStranger) == 0;
    ::_exit(changed ? work() : 99);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class LinuxSystemNotificationsTest : public testing::Test {
 protected:
  struct Log : SystemLog {
    std::vector<std::string> lines;
    void write(std::string_view message) override { lines.emplace_back(message); }
  };

  void SetUp() override {
    std::string name = fs::temp_directory_path() / "zorva-run-XXXXXX";
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    top_ = name;
    ::chmod(top_.c_str(), 0755);
    directories_.own = top_ + "/zorva";
    centre_.emplace(loop_, log_, directories_);
  }
  void TearDown() override {
    centre_.reset();
    fs::remove_all(top_);
  }

  PostResult post(const std::string& name) { return postNotification(directories_, name); }
  Registration listen(LinuxSystemNotifications& centre, const std::string& name) {
    return centre.subscribe(name, [this](std::string_view heard) {
      heard_ += std::string(heard) + " ";
      if (heard == "end" && --ends_ == 0) loop_.stop();
    });
  }
  // What is heard of the posts so far, where every daemon listens to "end".
  std::string heard() {
    heard_.clear();
    ends_ = post("end").delivered;
    if (ends_ > 0) loop_.run();
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
  std::string socketPath() {
    for (const auto& entry : fs::directory_iterator(directories_.own)) {
      if (entry.path().extension() == ".socket") return entry.path();
    }
    return {};
  }
  // Sends raw bytes, with a descriptor along where one is given.
  static bool sendTo(const std::string& path, std::string bytes, int passed = -1) {
    const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = addressOf(path);
    iovec content{bytes.data(), bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{&address, sizeof address, &content, 1, nullptr, 0, 0};
    if (passed >= 0) {
      message.msg_control = control;
      message.msg_controllen = sizeof control;
      cmsghdr* part = CMSG_FIRSTHDR(&message);
      part->cmsg_level = SOL_SOCKET;
      part->cmsg_type = SCM_RIGHTS;
      part->cmsg_len = CMSG_LEN(sizeof(int));
      std::memcpy(CMSG_DATA(part), &passed, sizeof passed);
    }
    return ::sendmsg(socket.get(), &message, MSG_DONTWAIT) == static_cast<ssize_t>(content.iov_len);
  }

  std::string top_;
  NotificationDirectories directories_;
  LinuxRunLoop loop_;
  Log log_;
  std::optional<LinuxSystemNotifications> centre_;
  std::string heard_;
  int ends_ = 0;  // still to come before everything posted has been heard
};

TEST_F(LinuxSystemNotificationsTest, EveryDaemonHearsPosts) {
  EXPECT_EQ(post("a").delivered, 0) << "nobody listens, and no directory is there";
  LinuxSystemNotifications other(loop_, log_, directories_);
  const Registration a = listen(*centre_, "a");
  const Registration end = listen(*centre_, "end");
  ASSERT_TRUE(a && end);
  for (const char* name : {"", ".a", "a/b", "a b", "\x7f"})
    EXPECT_FALSE(listen(other, name)) << name;
  EXPECT_FALSE(listen(other, std::string(129, 'a')));
  EXPECT_EQ(post("a").delivered, 1);
  EXPECT_TRUE(listen(other, std::string(128, 'a')));
  Registration alsoA = listen(other, "a");
  const Registration alsoEnd = listen(other, "end");
  EXPECT_EQ(post("a").delivered, 2);
  post("nobody");
  std::string all = heard();
  EXPECT_EQ(std::count(all.begin(), all.end(), 'a'), 3) << all;
  alsoA.reset();
  EXPECT_EQ(post("a").delivered, 2);
  all = heard();
  EXPECT_EQ(std::count(all.begin(), all.end(), 'a'), 1) << all;
  heard_.clear();
  centre_->post("a");
  EXPECT_EQ(heard_, "a ") << "at once, in this process only";
  EXPECT_TRUE(log_.lines.empty());
}

TEST_F(LinuxSystemNotificationsTest, SocketGoesWithDaemonAndDeadOnesAreCleared) {
  fs::create_directory(directories_.own);
  const std::string dead = directories_.own + "/1-0.socket";
  bound(dead);
  EXPECT_EQ(post("a").delivered, 0);
  EXPECT_FALSE(fs::exists(dead)) << "cleared by the poster";
  bound(dead);
  Registration a = listen(*centre_, "a");
  EXPECT_FALSE(fs::exists(dead)) << "cleared by the next daemon";
  EXPECT_EQ(post("a").delivered, 1);
  centre_.reset();
  EXPECT_TRUE(fs::is_empty(directories_.own));
}

TEST_F(LinuxSystemNotificationsTest, GarbageChangesNothing) {
  const Registration a = listen(*centre_, "a");
  const Registration end = listen(*centre_, "end");
  const auto descriptors = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto before = descriptors();
  for (const std::string& bytes :
       {std::string(), std::string("a"), std::string("ZVN1"), std::string("ZVN1a\0", 6),
        "ZVN1" + std::string(129, 'a'), "ZVN1a" + std::string(2000, 'a'), std::string("ZVN2a")}) {
    EXPECT_TRUE(sendTo(socketPath(), bytes));
  }
  EXPECT_EQ(heard(), "end ");
  EXPECT_TRUE(sendTo(socketPath(), "ZVN1a", STDERR_FILENO));
  EXPECT_EQ(heard(), "a end ");
  EXPECT_EQ(descriptors(), before) << "descriptors sent along are closed";
}

TEST_F(LinuxSystemNotificationsTest, FullQueueDoesNotBlockPoster) {
  const Registration a = listen(*centre_, "a");
  int posts = 0;
  while (post("a").full == 0 && posts < 100000) ++posts;
  EXPECT_GT(posts, 0);
  EXPECT_LT(posts, 100000);
  std::FILE* nowhere = std::fopen("/dev/null", "w");
  EXPECT_EQ(notifyCommand({"a"}, directories_, nowhere, nowhere), 1);
  std::fclose(nowhere);
}

TEST_F(LinuxSystemNotificationsTest, OnlyRootAndOwnUserAreHeard) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  const Registration a = listen(*centre_, "a");
  const Registration end = listen(*centre_, "end");
  ::chmod(directories_.own.c_str(), 0777);
  ::chmod(socketPath().c_str(), 0777);
  EXPECT_EQ(asStranger([&] { return sendTo(socketPath(), "ZVN1a") ? 0 : 1; }), 0);
  ::chmod(directories_.own.c_str(), 0755);
  EXPECT_EQ(heard(), "end ");

  // Root is heard by the daemon of a user, whose directory it does not trust otherwise.
  directories_.users = top_ + "/users";
  fs::create_directories(directories_.users + "/1234");
  ::chown((directories_.users + "/1234").c_str(), kStranger, kStranger);
  const std::string users = directories_.users + "/1234/zorva";
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const pid_t poster = ::fork();
  if (poster == 0) {
    char byte;
    const bool ready = ::read(ends[0], &byte, 1) == 1;
    ::_exit(ready ? post("a").delivered : 99);
  }
  EXPECT_EQ(asStranger([&] {
              std::string problem;
              const auto socket = NotificationSocket::make(users, problem);
              if (!socket) return 1;
              LinuxRunLoop loop;
              int result = 2;
              const Registration watch = loop.watchDescriptor(socket->descriptor(), [&] {
                result = socket->takePosts() == std::vector<std::string>{"a"} ? 0 : 3;
                loop.stop();
              });
              if (::write(ends[1], "r", 1) == 1) loop.run();
              return result;
            }),
            0);
  int status;
  ::waitpid(poster, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 2) << "both root's and the user's daemon";

  // What the user plants leads root nowhere.
  const Descriptor victim = bound(top_ + "/victim");
  const Descriptor stream = bound(users + "/stream.socket", SOCK_STREAM);
  fs::create_symlink(top_ + "/victim", users + "/link.socket");
  fs::create_hard_link(top_ + "/victim", users + "/second.socket");
  ::mkfifo((users + "/pipe.socket").c_str(), 0666);
  ::chown((users + "/stream.socket").c_str(), kStranger, kStranger);
  EXPECT_EQ(post("a").delivered, 1) << "root's own";
  fs::rename(users, top_ + "/elsewhere");
  fs::create_symlink(directories_.own, users);
  EXPECT_EQ(post("a").delivered, 1);
  char byte;
  EXPECT_EQ(::recv(victim.get(), &byte, 1, 0), -1);
  EXPECT_TRUE(fs::exists(top_ + "/victim"));
}

TEST_F(LinuxSystemNotificationsTest, UnsafeDirectoryIsRefusedAndTold) {
  fs::create_directory(top_ + "/real");
  fs::create_symlink(top_ + "/real", directories_.own);
  EXPECT_FALSE(listen(*centre_, "a"));
  EXPECT_FALSE(listen(*centre_, "b"));
  EXPECT_EQ(log_.lines.size(), 1u);
  EXPECT_FALSE(post("a").problem.empty());
  fs::remove(directories_.own);
  fs::create_directory(directories_.own);
  ::chmod(directories_.own.c_str(), 0777);
  EXPECT_FALSE(listen(*centre_, "a"));
  ASSERT_EQ(log_.lines.size(), 2u);
  EXPECT_NE(log_.lines[1].find("'" + directories_.own + "' must belong to user"),
            std::string::npos);
  ::chmod(directories_.own.c_str(), 0755);
  EXPECT_TRUE(listen(*centre_, "a")) << "tried again";
}

TEST_F(LinuxSystemNotificationsTest, StatesPersist) {
  std::string problem;
  const auto set = [&](const NotificationDirectories& in, std::uint64_t state) {
    return setNotificationState(in, "a", state, problem);
  };
  EXPECT_EQ(centre_->state("a"), 0u);
  EXPECT_EQ(centre_->state("../a"), std::nullopt);
  EXPECT_TRUE(set(directories_, UINT64_MAX));
  EXPECT_EQ(centre_->state("a"), UINT64_MAX);
  EXPECT_EQ(centre_->state("b"), 0u);
  EXPECT_TRUE(set(directories_, 5));
  EXPECT_EQ(centre_->state("a"), 5u);

  // Of the user's state and root's, the later one holds.
  NotificationDirectories shared{top_ + "/shared", {}, {}};
  NotificationDirectories both{directories_.own, shared.own, {}};
  EXPECT_TRUE(set(shared, 6));
  const auto moved = [&](const std::string& path, int seconds) {
    fs::last_write_time(path + "/states/a",
                        fs::file_time_type::clock::now() + std::chrono::seconds(seconds));
  };
  moved(shared.own, 10);
  EXPECT_EQ(readNotificationState(both, "a"), 6u);
  moved(directories_.own, 20);
  EXPECT_EQ(readNotificationState(both, "a"), 5u);

  const std::string file = directories_.own + "/states/a";
  for (const char* garbage : {"", "x", "1x\n", "1", "18446744073709551616\n", "-1\n", "1\n\n"}) {
    std::ofstream(file) << garbage;
    EXPECT_EQ(centre_->state("a"), std::nullopt) << garbage;
  }
  Registration source = centre_->provideState("a", [] { return std::optional<std::uint64_t>(7); });
  EXPECT_EQ(centre_->state("a"), 7u);
  source.reset();
  EXPECT_TRUE(set(directories_, 8));
  EXPECT_EQ(centre_->state("a"), 8u);

  if (::geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  ASSERT_EQ(::chown(file.c_str(), kStranger, kStranger), 0);
  EXPECT_EQ(centre_->state("a"), std::nullopt);
}

TEST_F(LinuxSystemNotificationsTest, CommandSetsStateAndPosts) {
  const Registration a = centre_->subscribe(
      "a", [&](std::string_view) { heard_ += std::to_string(*centre_->state("a")) + " "; });
  const Registration end = listen(*centre_, "end");
  char* text = nullptr;
  std::size_t size = 0;
  const auto run = [&](const std::vector<std::string>& arguments) {
    std::FILE* stream = ::open_memstream(&text, &size);
    const int status = notifyCommand(arguments, directories_, stream, stream);
    std::fclose(stream);
    std::string said = text;
    std::free(text);
    return std::to_string(status) + said;
  };
  EXPECT_EQ(run({"a", "--state", "0xFFFFFFFFFFFFFFFF"}), "0");
  EXPECT_EQ(run({"nobody"}), "0");
  EXPECT_EQ(heard(), "18446744073709551615 end ");
  EXPECT_TRUE(run({"--help"}).starts_with("0Usage: zorva-notify NAME"));
  for (const std::vector<std::string>& bad : {std::vector<std::string>{},
                                              {""},
                                              {"a", "b"},
                                              {"a/b"},
                                              {"--state", "1"},
                                              {"a", "--state"},
                                              {"a", "--state", ""},
                                              {"a", "--state=-1"},
                                              {"a", "--state", "18446744073709551616"},
                                              {"a", "--state=1x"},
                                              {"a", "-x"}}) {
    EXPECT_TRUE(run(bad).starts_with("2zorva-notify: ")) << testing::PrintToString(bad);
  }
  std::ofstream(directories_.own + "/states/a") << "1\n";
  fs::remove_all(directories_.own + "/states");
  std::ofstream(directories_.own + "/states") << "in the way";
  EXPECT_TRUE(run({"a", "--state", "2"}).starts_with("1zorva-notify: Cannot open the directory '"));
  EXPECT_EQ(heard(), "end ") << "not posted without its state";
}

TEST_F(LinuxSystemNotificationsTest, DirectoriesFollowUserAndEnvironment) {
  ::unsetenv("ZORVA_RUN_DIRECTORY");
  ::setenv("XDG_RUNTIME_DIR", top_.c_str(), 1);
  EXPECT_EQ(NotificationDirectories::ofProcess().own,
            ::geteuid() == 0 ? "/run/zorva" : top_ + "/zorva");
  ::setenv("ZORVA_RUN_DIRECTORY", "/private", 1);
  EXPECT_EQ(NotificationDirectories::ofProcess().own, "/private");
  ::unsetenv("ZORVA_RUN_DIRECTORY");
}

}  // namespace
}  // namespace zorva
