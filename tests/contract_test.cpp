// What every platform must keep, seen on the simulated handset and on this machine alike.

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <signal.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/linux/LinuxDeviceRegistry.h"
#include "platform/linux/LinuxRunLoop.h"
#include "platform/linux/LinuxSystemLog.h"
#include "platform/linux/LinuxSystemNotifications.h"
#include "platform/linux/LinuxSystemStatistics.h"
#include "platform/sim/SimHandset.h"

namespace zorva {
namespace {

using Calls = std::vector<std::string>;

struct SimDevice {
  SimHandset handset;
  RunLoop& runLoop = handset.runLoop();
  SimSystemNotifications& notifications = handset.notifications();
  DeviceRegistry& registry = handset.registry();
  SimSystemStatistics& statistics = handset.statistics();

  SimDevice() { handset.battery().setPresent(false); }
  // A process that has used some time and rests.
  std::int32_t startProcess(const char* name) {
    statistics.setTask(4321, name, {1, 700000});
    statistics.task(4321).sample.threads[0].systemTime = {0, 600000};
    return 4321;
  }
  void endProcess(std::int32_t process) { statistics.removeTask(process); }
};

struct LinuxDevice {
  std::string directory = [] {
    char name[] = "/tmp/zorva-contract-XXXXXX";
    return std::string(::mkdtemp(name));
  }();
  LinuxRunLoop runLoop;
  LinuxSystemLog systemLog;
  LinuxSystemNotifications notifications{runLoop, systemLog, {directory, "", ""}};
  LinuxDeviceRegistry registry{runLoop.event(), directory};  // with no supply in it
  LinuxSystemStatistics statistics;

  ~LinuxDevice() {
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
  }
  std::int32_t startProcess(const char* name) {
    const pid_t process = ::fork();
    if (process == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      ::prctl(PR_SET_NAME, name);
      while (std::clock() < CLOCKS_PER_SEC / 20) continue;
      ::raise(SIGSTOP);
      ::_exit(0);
    }
    ::waitpid(process, nullptr, WUNTRACED);
    return process;
  }
  void endProcess(std::int32_t process) {
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
  }
};

template <typename Device>
class PlatformContract : public ::testing::Test {
 protected:
  Device device;
  Calls calls;
  std::function<void()> calling(const std::string& name) {
    return [this, name] { calls.push_back(name); };
  }
};
using Devices = ::testing::Types<SimDevice, LinuxDevice>;
TYPED_TEST_SUITE(PlatformContract, Devices);

TYPED_TEST(PlatformContract, TimersFireOnceInTheirOrderUnlessDropped) {
  RunLoop& loop = this->device.runLoop;
  loop.stop();  // before run() it does not count
  const auto last = loop.startTimer(0.6, [&] {
    this->calls.push_back("last");
    loop.stop();
  });
  Registration own;
  Registration other = loop.startTimer(0.3, this->calling("dropped by another"));
  own = loop.startTimer(0.0, [&] {
    this->calls.push_back("first");
    own.reset();
    other.reset();
  });
  loop.startTimer(0.0, this->calling("dropped at once")).reset();
  loop.run();
  EXPECT_EQ(this->calls, (Calls{"first", "last"}));
}

TYPED_TEST(PlatformContract, DescriptorsAreWatchedUntilDropped) {
  RunLoop& loop = this->device.runLoop;
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ASSERT_EQ(::write(ends[1], "ab", 2), 2);
  Registration watch;
  watch = loop.watchDescriptor(ends[0], [&] {  // again as long as something is left to read
    char byte = 0;
    EXPECT_EQ(::read(ends[0], &byte, 1), 1);
    this->calls.push_back(std::string(1, byte));
    if (byte == 'b') watch.reset();
  });
  ASSERT_TRUE(watch);
  const auto more = loop.startTimer(0.0, [&] { EXPECT_EQ(::write(ends[1], "c", 1), 1); });
  const auto end = loop.startTimer(0.3, [&] { loop.stop(); });
  loop.run();
  EXPECT_EQ(this->calls, (Calls{"a", "b"}));
  EXPECT_FALSE(loop.watchDescriptor(-1, [] {}));
  ::close(ends[0]);
  ::close(ends[1]);
}

TYPED_TEST(PlatformContract, PostsReachWhoeverListensAndNothingElse) {
  auto& centre = this->device.notifications;
  Registration second;
  const auto first = centre.subscribe("com.example.a", [&](std::string_view name) {
    this->calls.push_back("first " + std::string(name));
    second.reset();
    centre.post("com.example.b");
  });
  second = centre.subscribe("com.example.a", [&](std::string_view) { this->calling("second")(); });
  const auto inner = centre.subscribe(
      "com.example.b", [&](std::string_view name) { this->calls.push_back(std::string(name)); });
  centre.post("com.example.a");
  centre.post("com.example.nobody");
  EXPECT_EQ(this->calls, (Calls{"first com.example.a", "com.example.b"}));
  EXPECT_EQ(centre.state("com.example.a"), 0U) << "nobody has set one";
}

TYPED_TEST(PlatformContract, ProcessesAreToldUntilTheyEnd) {
  SystemStatistics& statistics = this->device.statistics;
  const std::string name = "a name of more than sixteen bytes";
  const std::int32_t process = this->device.startProcess(name.c_str());
  ASSERT_GT(process, 0);
  std::vector<std::int32_t> processes;
  EXPECT_TRUE(statistics.listTasks(processes).ok());
  EXPECT_TRUE(std::ranges::is_sorted(processes, std::ranges::less_equal())) << "none twice";
  EXPECT_TRUE(std::ranges::binary_search(processes, process));

  const auto total = [&](TaskDetail detail, TaskSample& sample) {
    EXPECT_TRUE(statistics.sampleTask(process, detail, sample).ok());
    std::vector<TimeValue> times{sample.basic.userTime, sample.basic.systemTime};
    for (const ThreadInfo& thread : sample.threads) {
      times.insert(times.end(), {thread.userTime, thread.systemTime});
    }
    std::int64_t microseconds = 0;
    for (const TimeValue& time : times) {
      microseconds += std::int64_t{time.seconds} * 1000000 + time.microseconds;
    }
    return microseconds;
  };
  TaskSample plain, detailed;
  const std::int64_t used = total(TaskDetail::None, plain);
  EXPECT_GT(used, 0);
  EXPECT_EQ(total(TaskDetail::Threads, detailed), used);
  EXPECT_TRUE(plain.threads.empty());
  EXPECT_EQ(detailed.threads.size(), 1U);
  EXPECT_EQ(plain.process.process, process);
  EXPECT_LE(plain.process.command.size(), kCommandLength);
  EXPECT_GE(plain.process.command.size(), kCommandLength - 1);
  EXPECT_TRUE(name.starts_with(plain.process.command)) << plain.process.command;

  this->device.endProcess(process);
  const auto gone = statistics.sampleTask(process, kEveryTaskDetail, detailed);
  EXPECT_FALSE(gone.ok());
  EXPECT_EQ(gone.failed, TaskSampleStep::KernelProcess);
  EXPECT_TRUE(statistics.listTasks(processes).ok());
  EXPECT_FALSE(std::ranges::binary_search(processes, process));
}

TYPED_TEST(PlatformContract, WithoutABatteryThereIsNothingToBeInterestedIn) {
  EXPECT_EQ(this->device.registry.firstPowerSource(), nullptr);
  const auto port = this->device.registry.makeNotificationPort();
  Registration interest;
  EXPECT_EQ(port->addInterest(nullptr, {}, interest), kRegistryBadArgument);
  EXPECT_FALSE(interest);
}

}  // namespace
}  // namespace zorva
