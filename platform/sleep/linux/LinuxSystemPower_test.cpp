// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/LinuxSystemPower.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

#include "platform/kit/bus/BusProperties.h"
#include "platform/testing/ClockJump.h"
#include "platform/testing/PrivateBus.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

// The mocked login manager's locks are one named pipe: each lock is a writer of it, who has written
// what was asked for. The test reads it.
class LinuxSystemPowerTest : public testing::Test {
 protected:
  using Lines = std::vector<std::string>;
  static constexpr const char* kLock = "sleep|Zorva|Logs the way to sleep|delay\n";

  LinuxSystemPowerTest() {
    EXPECT_EQ(mkfifo((directory_ / "locks").c_str(), 0600), 0);
    locks_ = Descriptor(::open((directory_ / "locks").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  }
  // It is ready when its name appears: calls wait until the template is loaded.
  void startLogind() {
    directory_.write("logind.py", "DIRECTORY = '" + (directory_ / "") + "'\n" + R"(
import dbus, os
BUS_NAME = 'org.freedesktop.login1'
MAIN_OBJ = '/org/freedesktop/login1'
MAIN_IFACE = 'org.freedesktop.login1.Manager'
SYSTEM_BUS = True
def load(mock, parameters):
    mock.AddProperty(MAIN_IFACE, 'PreparingForSleep', dbus.Boolean(False))
@dbus.service.method(MAIN_IFACE, in_signature='ssss', out_signature='h')
def Inhibit(self, what, who, why, mode):
    if os.path.exists(DIRECTORY + 'refuse'):
        raise dbus.exceptions.DBusException('no', name='org.zorva.No')
    pipe = os.open(DIRECTORY + 'locks', os.O_WRONLY)
    os.write(pipe, ('|'.join([what, who, why, mode]) + '\n').encode())
    lock = dbus.types.UnixFd(pipe)
    os.close(pipe)
    return lock
)");
    logind_ = runProgram({"/usr/bin/python3", "-m", "dbusmock", "--system", "--logfile=/dev/null",
                          "--template", directory_ / "logind.py"});
    loop_.runUntil([&] { return std::exchange(appeared_, false); });
  }
  void stopLogind() {
    logind_.reset();
    loop_.runUntil([&] { return std::exchange(appeared_, false); });
  }
  void send(bool sleep) { send(sleep, sleep); }
  void send(bool sleep, bool prepares) {
    ASSERT_GE(private_.call(kLoginService, kLoginPath, private_.kMock, "UpdateProperties", "sa{sv}",
                            kLoginManager, 1, "PreparingForSleep", "b", prepares ? 1 : 0),
              0);
    ASSERT_GE(private_.call(kLoginService, kLoginPath, private_.kMock, "EmitSignal", "sssav",
                            kLoginManager, "PrepareForSleep", "b", 1, "b", sleep ? 1 : 0),
              0);
    loop_.runUntil([&] { return std::exchange(signalled_, false); });
  }
  // What was asked for since the last call, led by "held: " while somebody holds a lock.
  std::string locks() {
    char text[512];
    std::string asked;
    for (;;) {
      const ssize_t length = ::read(locks_.get(), text, sizeof text);
      if (length <= 0) return (length < 0 ? "held: " : "") + asked;
      asked.append(text, static_cast<std::size_t>(length));
    }
  }
  void waitUntilDropped() {
    loop_.runUntil([&] { return locks().empty(); });
  }
  Lines reported() {
    loop_.drain();
    return std::exchange(reported_, {});
  }
  struct Listener {
    SystemPower::Registered handles;
    Registration source;
    std::intptr_t argument = 0;  ///< of the last message
  };
  // Listens under a name; "a" allows a sleep at once, others when the test does.
  void listen(const std::string& name, Listener& listener) {
    listener.handles = power_.registerForSystemPower(
        [this, name, &listener](std::uint32_t type, std::intptr_t argument) {
          const bool sleep = type == static_cast<std::uint32_t>(PowerMessage::WillSleep);
          const bool wake = type == static_cast<std::uint32_t>(PowerMessage::HasPoweredOn);
          reported_.push_back(name + (sleep ? " sleep" : wake ? " wake" : " stays awake"));
          listener.argument = argument;
          if (sleep && name == "a") allow(listener, argument);
        });
    listener.source = listener.handles.port->addSourceToRunLoop();
    EXPECT_TRUE(listener.source);
  }
  void allow(Listener& listener, std::intptr_t argument) {
    power_.allowPowerChange(listener.handles.connection, argument);
  }
  void drop(Listener& listener) {
    listener.source.reset();
    power_.deregisterForSystemPower(listener.handles.notifier);
    listener.handles.port.reset();
    power_.closeConnection(listener.handles.connection);
  }

  LoopForTest loop_;
  DirectoryForTest directory_;
  Descriptor locks_;
  PrivateBusForTest private_;
  std::unique_ptr<ChildForTest> logind_;
  bool signalled_ = false;
  bool appeared_ = false;
  Lines reported_;
  bool hurry_ = true;  ///< the hook on wake proceeds at once
  std::function<void()> proceed_;
  std::int64_t slept_ = 0;
  LinuxBus bus_{loop_.event(), private_.address(), std::chrono::milliseconds(500)};
  LinuxSystemPower power_{
      loop_.event(),
      bus_,
      {[this] { reported_.push_back("before sleep, " + locks()); },
       [this](bool prepared) {
         reported_.push_back((prepared ? "resumed, " : "resumed unprepared, ") + locks());
       },
       [this](std::function<void()> proceed) {
         reported_.push_back("after wake, " + locks());
         proceed_ = std::move(proceed);
         if (hurry_) proceed_();
       },
       [this] { reported_.push_back("over"); }},
      {directory_ / "sys", [this] { return slept_; }, std::chrono::milliseconds(50)}};
  // Called after the ones of what is tested.
  Registration signals_ = bus_.observeSignals("type='signal',member='PrepareForSleep'",
                                              [this](sd_bus_message*) { signalled_ = true; });
  Registration appearances_ = bus_.observeService(kLoginService, [this] { appeared_ = true; });
};

TEST_F(LinuxSystemPowerTest, HoldsSleepOffUntilEverybodyAllowsIt) {
  private_.start();
  loop_.runUntil([&] { return bus_.connected(); });
  startLogind();
  Listener a, b;
  listen("a", a);
  EXPECT_EQ(locks(), std::string("held: ") + kLock);
  listen("b", b);

  send(true);
  EXPECT_EQ(reported(), Lines({"a sleep", "b sleep"}));
  send(true);
  EXPECT_EQ(reported(), Lines()) << "a repeated announcement";
  EXPECT_EQ(locks(), "held: ") << "b has not allowed it";
  allow(b, b.argument);
  allow(b, b.argument);
  EXPECT_EQ(reported(), Lines({"before sleep, held: "}));
  waitUntilDropped();

  hurry_ = false;
  send(false);
  EXPECT_EQ(reported(), Lines({"resumed, ", std::string("after wake, held: ") + kLock}));
  proceed_();
  proceed_();
  EXPECT_EQ(reported(), Lines({"a wake", "b wake", "over"}));
  send(false);
  EXPECT_EQ(reported(), Lines()) << "nobody slept";

  // A new sleep before the hook lets the wake be told.
  send(true);
  reported();
  allow(b, b.argument);
  send(false);
  send(true);
  EXPECT_EQ(reported(),
            Lines({"before sleep, held: ", "resumed, ", std::string("after wake, held: ") + kLock,
                   "a wake", "b wake", "over", "a sleep", "b sleep"}));
  proceed_();
  EXPECT_EQ(reported(), Lines());
  EXPECT_EQ(locks(), "held: ");
  // The system did not wait. Then the end of the sleep is missed, too.
  send(false);
  proceed_();
  send(true);
  allow(b, b.argument);
  reported();
  send(true);
  EXPECT_EQ(reported(), Lines({"a sleep", "b sleep"}));
  // Who leaves does not hold it up any longer.
  drop(b);
  EXPECT_EQ(reported().size(), 1u);
  send(false);
  proceed_();
  EXPECT_EQ(reported().back(), "over");
  drop(a);
  waitUntilDropped();
  send(true);
  send(false);
  EXPECT_EQ(locks(), "") << "nobody listens";
}

TEST_F(LinuxSystemPowerTest, OutlivesTheLoginManager) {
  Listener a, b;
  listen("a", a);  // before there is a bus
  private_.start();
  loop_.runUntil([&] { return bus_.connected(); });
  directory_.write("refuse", "");
  startLogind();
  EXPECT_EQ(locks(), "");
  send(true);
  send(false);
  EXPECT_EQ(reported(),
            Lines({"a sleep", "before sleep, ", "resumed, ", "after wake, ", "a wake", "over"}));

  // Its successor is asked anew, and is the one that ends a sleep that it does not know.
  std::filesystem::remove(directory_ / "refuse");
  stopLogind();
  startLogind();
  EXPECT_EQ(locks(), std::string("held: ") + kLock);
  listen("b", b);
  send(true);
  stopLogind();
  allow(b, b.argument);
  EXPECT_EQ(reported(), Lines({"a sleep", "b sleep", "before sleep, held: "}));
  waitUntilDropped();
  const Lines woken{"resumed, ", std::string("after wake, held: ") + kLock, "a wake", "b wake",
                    "over"};
  startLogind();
  EXPECT_EQ(reported(), woken);
}

TEST_F(LinuxSystemPowerTest, ReportsEachEndOfASleepOnceAsTheKernelRecordsIt) {
  private_.start();
  loop_.runUntil([&] { return bus_.connected(); });
  startLogind();
  Listener a;
  listen("a", a);
  EXPECT_EQ(locks(), std::string("held: ") + kLock);
  const auto suspendStats = [&](int successes, int failures) {
    directory_.write("sys/power/suspend_stats/success", std::to_string(successes) + "\n");
    directory_.write("sys/power/suspend_stats/fail", std::to_string(failures) + "\n");
  };
  constexpr std::int64_t kSecond = 1'000'000'000;
  // Asked of the kernel itself. A clock that is set is no sleep.
  const Lines unannounced{"resumed unprepared, held: ", "after wake, held: ", "a wake", "over"};
  slept_ += kSecond;
  jumpClock();
  EXPECT_EQ(reported(), unannounced);
  jumpClock();
  send(false);
  EXPECT_EQ(reported(), Lines());

  // Announced, too: the clock is heard first, while the login manager still refuses its lock.
  const Lines prepared{"a sleep", "before sleep, held: "};
  const Lines refused{"resumed, ", "after wake, ", "a wake", "over"};
  send(true);
  EXPECT_EQ(reported(), prepared);
  waitUntilDropped();
  directory_.write("refuse", "");
  slept_ += kSecond;
  jumpClock();
  EXPECT_EQ(reported(), refused);
  std::filesystem::remove(directory_ / "refuse");
  std::string asked;
  loop_.runUntil([&] { return !(asked += locks()).empty(); });
  EXPECT_EQ(asked, std::string("held: ") + kLock) << "asked for again";
  send(false);
  EXPECT_EQ(reported(), Lines());
  EXPECT_EQ(locks(), "held: ");

  // The kernel's counts know better than the clock and the login manager.
  const Lines failed{"over", "a stays awake"};
  suspendStats(3, 1);
  send(true);
  suspendStats(3, 2);
  reported();
  waitUntilDropped();
  send(false);
  EXPECT_EQ(reported(), failed);
  send(true);
  reported();
  send(false);
  EXPECT_EQ(reported(), failed) << "the kernel was not asked";
  send(true);
  suspendStats(4, 3);
  reported();
  send(false);
  EXPECT_EQ(reported().at(2), "a wake") << "it slept at the second attempt, if not by its clock";
  send(true);
  slept_ += kSecond;
  reported();
  send(false);
  EXPECT_EQ(reported().at(2), "a wake") << "a hibernation";
  slept_ += kSecond / 2;
  suspendStats(4, 4);
  jumpClock();
  EXPECT_EQ(reported(), failed) << "given up at the last step";

  // By a clock that was set while the system slept it did not sleep, but the kernel counts it.
  jumpClock();
  EXPECT_EQ(reported(), Lines());
  suspendStats(5, 4);
  loop_.runUntil([&] { return !reported_.empty(); });
  EXPECT_EQ(reported(), unannounced);
  slept_ += kSecond;
  jumpClock();
  EXPECT_EQ(reported(), unannounced);
  suspendStats(6, 4);
  jumpClock();
  EXPECT_EQ(reported(), Lines()) << "counted late";
  slept_ += kSecond;
  jumpClock();
  EXPECT_EQ(reported(), unannounced) << "a hibernation, which is never counted";
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(reported(), Lines());
  suspendStats(7, 4);
  jumpClock();
  EXPECT_EQ(reported(), unannounced) << "too short for the clock";

  // The system did not wait for the daemon, which receives the announcement after the sleep.
  slept_ += 3 * kSecond;
  send(true, false);
  send(false);
  EXPECT_EQ(reported(), unannounced);

  // A sleep without announcement right before one with it, of which both are heard at once.
  slept_ += 3 * kSecond;
  send(true);
  Lines both = unannounced;
  both.insert(both.end(), prepared.begin(), prepared.end());
  EXPECT_EQ(reported(), both);
}

}  // namespace
}  // namespace zorva
