#include "platform/linux/LinuxSystemStatistics.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "platform/linux/DirectoryForTest.h"

namespace zorva {
namespace {

// A process of the test's own, which has done the work when the constructor returns and then waits.
class Child {
 public:
  explicit Child(const std::function<void()>& work) {
    int ready[2];
    EXPECT_EQ(pipe(ready), 0);
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      work();
      [[maybe_unused]] const ssize_t written = write(ready[1], "", 1);
      for (;;) pause();
    }
    close(ready[1]);
    char byte;
    EXPECT_EQ(read(ready[0], &byte, 1), 1) << "the child died";
    close(ready[0]);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() { end(); }

  /// Ends it without reaping it.
  void becomeZombie() {
    kill(process_, SIGKILL);
    siginfo_t information;
    waitid(P_PID, static_cast<id_t>(process_), &information, WEXITED | WNOWAIT);
  }
  /// Ends and reaps it, and answers what it used.
  rusage end() {
    rusage usage{};
    if (process_ <= 0) return usage;
    kill(process_, SIGKILL);
    wait4(process_, nullptr, 0, &usage);
    process_ = 0;
    return usage;
  }
  pid_t process() const { return process_; }

 private:
  pid_t process_ = 0;
};

double secondsOf(const TimeValue& time) {
  return time.seconds + time.microseconds / 1e6;
}
double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

TEST(LinuxSystemStatisticsTest, TimesAreTheKernelsWithThreadsAndWithout) {
  // Works until it has used what a coarse clock cannot miss; partly in a thread that ends.
  const auto work = [](double seconds) {
    rusage usage{};
    do {
      getrusage(RUSAGE_THREAD, &usage);
    } while (secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime) < seconds);
  };
  LinuxSystemStatistics statistics;
  Child child([&] {
    std::thread(work, 0.15).join();
    work(0.15);
  });
  TaskSample plain;
  TaskSample threads;
  // The child has said that it is ready and is about to wait.
  for (int look = 0; look < 5000; ++look) {
    ASSERT_TRUE(statistics.sampleTask(child.process(), TaskDetail::Threads, threads).ok());
    ASSERT_EQ(threads.threads.size(), 1u);
    if (threads.threads[0].runState == kThreadWaiting) break;
    usleep(1000);
  }
  EXPECT_EQ(threads.threads[0].runState, kThreadWaiting);
  ASSERT_TRUE(statistics.sampleTask(child.process(), TaskDetail::None, plain).ok());
  EXPECT_TRUE(plain.threads.empty());
  const rusage usage = child.end();
  const double expected = secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
  const double total = secondsOf(plain.basic.userTime) + secondsOf(plain.basic.systemTime);
  // Two figures, each cut to whole ticks; the child uses some more on its way to its end.
  EXPECT_LE(total, expected + 0.001);
  EXPECT_GE(total, 0.28);
  const double exited = secondsOf(threads.basic.userTime) + secondsOf(threads.basic.systemTime);
  const double live =
      secondsOf(threads.threads[0].userTime) + secondsOf(threads.threads[0].systemTime);
  EXPECT_GE(exited, 0.1);
  EXPECT_GE(live, 0.1);
  EXPECT_NEAR(exited + live, total, 1e-6);
}

TEST(LinuxSystemStatisticsTest, DetailsOfAProcess) {
  LinuxSystemStatistics statistics;
  const Child child([] {
    for (int i = 0; i < 20; ++i) [[maybe_unused]] const int copy = dup(0);
    if (geteuid() == 0) [[maybe_unused]]
      const int set = seteuid(12345);
  });
  TaskSample sample;
  ASSERT_TRUE(statistics.sampleTask(child.process(), kEveryTaskDetail, sample).ok());
  EXPECT_EQ(sample.process.user, geteuid() == 0 ? 12345u : geteuid());
  EXPECT_GT(sample.events.faults, 0u);
  EXPECT_GT(sample.events.contextSwitches, 0u);
  EXPECT_GT(sample.process.startSeconds, 1600000000);
  EXPECT_GE(sample.ports, 20u);
  std::vector<MemoryRegion> regions;
  ASSERT_TRUE(statistics.memoryRegions(child.process(), regions).ok());
  EXPECT_TRUE(std::ranges::any_of(regions, &MemoryRegion::sharedFramework));
  std::uint64_t resident = 0;
  for (const MemoryRegion& region : regions) resident += region.residentSize;
  EXPECT_GT(resident, 0u);

  char path[64];
  std::size_t length = 0;
  ASSERT_TRUE(statistics.executablePath(child.process(), path, length).ok());
  EXPECT_GT(length, 0u);
  EXPECT_LE(length, sizeof path);
  EXPECT_EQ(std::string_view(path, length).find('\0'), std::string_view::npos);
}

TEST(LinuxSystemStatisticsTest, ZombiesAreListedAndTheGoneAreNot) {
  LinuxSystemStatistics statistics;
  Child child([] { prctl(PR_SET_NAME, "ghost"); });
  const pid_t process = child.process();
  child.becomeZombie();
  std::vector<std::int32_t> processes;
  ASSERT_TRUE(statistics.listTasks(processes).ok());
  EXPECT_TRUE(std::ranges::is_sorted(processes));
  EXPECT_TRUE(std::ranges::binary_search(processes, process));
  EXPECT_TRUE(std::ranges::binary_search(processes, getpid()));
  TaskSample sample;
  ASSERT_TRUE(statistics.sampleTask(process, kEveryTaskDetail, sample).ok());
  EXPECT_TRUE(sample.process.zombie);
  EXPECT_EQ(sample.process.command, "ghost");
  child.end();
  const auto gone = statistics.sampleTask(process, TaskDetail::None, sample);
  EXPECT_FALSE(gone.ok());
  EXPECT_EQ(gone.failed, TaskSampleStep::KernelProcess);
  EXPECT_NE(gone.text, "");
  ASSERT_TRUE(statistics.listTasks(processes).ok());
  EXPECT_FALSE(std::ranges::binary_search(processes, process));
}

// A tree of files in place of the kernel's.
class FakeTreeTest : public testing::Test {
 protected:
  void write(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(root / path).parent_path());
    std::ofstream(root / path) << text;
  }

  DirectoryForTest root;
};

TEST_F(FakeTreeTest, FilesThatAreMissingOrGarbledAreFailures) {
  LinuxSystemStatistics nowhere(root / "none", root / "none");
  std::vector<std::int32_t> processes{5};
  const auto listed = nowhere.listTasks(processes);
  EXPECT_FALSE(listed.ok());
  EXPECT_EQ(listed.failed, TaskListStep::ProcessorSets);
  EXPECT_EQ(processes, std::vector<std::int32_t>{5});

  write("proc/stat", "garbage");
  write("proc/meminfo", "MemTotal: lots\n");
  write("proc/loadavg", "");
  write("proc/12/stat", std::string(10000, '('));
  write("proc/13/stat", "");
  write("proc/99999999999/stat", "");
  write("proc/0/stat", "");
  write("proc/1x/stat", "");
  write("proc/3/stat",
        "3 (kthread/0:1-name longer than others) I 2 0 0 0 -1 69238880 0 0 0 0 7 250 "
        "0 0 20 0 1 0 300 0 0");
  LinuxSystemStatistics statistics(root / "proc", root / "sys");
  std::uint64_t memory = 7;
  HostCpuLoad load;
  double averages[3];
  SwapUsage swap;
  std::vector<NetworkTotals> interfaces;
  std::vector<std::string> drivers;
  EXPECT_FALSE(statistics.memorySize(memory).ok());
  EXPECT_EQ(memory, 7u);
  EXPECT_FALSE(statistics.cpuLoad(load).ok());
  EXPECT_FALSE(statistics.loadAverages(averages).ok());
  EXPECT_FALSE(statistics.swapUsage(swap).ok());
  EXPECT_FALSE(statistics.interfaceTraffic(interfaces).ok());
  EXPECT_FALSE(statistics.blockDrivers(drivers).ok());
  ASSERT_TRUE(statistics.listTasks(processes).ok());
  EXPECT_EQ(processes, (std::vector<std::int32_t>{3, 12, 13}));
  TaskSample sample;
  EXPECT_FALSE(statistics.sampleTask(12, kEveryTaskDetail, sample).ok());
  EXPECT_FALSE(statistics.sampleTask(13, kEveryTaskDetail, sample).ok());
  ASSERT_TRUE(statistics.sampleTask(3, TaskDetail::None, sample).ok());
  EXPECT_EQ(sample.process.command, "kthread/0:1-name");
  const auto ticks = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
  EXPECT_EQ(sample.basic.systemTime, timeOfTicks(250, ticks));

  // As when the process ends in the middle of the look.
  EXPECT_EQ(statistics.sampleTask(3, TaskDetail::Identity, sample).code, ENOENT);
  write("proc/3/task/x", "");
  for (const TaskDetail detail : {TaskDetail::Threads, TaskDetail::Events}) {
    const auto ended = statistics.sampleTask(3, detail, sample);
    EXPECT_EQ(ended.code, ESRCH);
    EXPECT_EQ(ended.failed, TaskSampleStep::TaskInformation);
  }
}

TEST_F(FakeTreeTest, TheFirmwaresRangesAreSummedByType) {
  const char* const kRanges[][3] = {{"0x0", "0xfff", "System RAM\n"},
                                    {"0x1000\n", "0x1fff\n", "Reserved\n"},
                                    {"0x2000", "0x20ff", "Unusable memory\n"},
                                    {"0x3000", "0x300f", "ACPI Tables\n"},
                                    {"0x4000", "0x4fff", "Reserved\n"}};
  LinuxSystemStatistics statistics(root / "proc", root / "sys");
  EXPECT_FALSE(statistics.reservedMemory());
  for (std::size_t i = 0; i < std::size(kRanges); ++i) {
    const std::string range = "sys/firmware/memmap/" + std::to_string(i);
    write(range + "/start", kRanges[i][0]);
    write(range + "/end", kRanges[i][1]);
    write(range + "/type", kRanges[i][2]);
  }
  const auto memory = statistics.reservedMemory();
  ASSERT_TRUE(memory);
  EXPECT_EQ(memory->reserved, 0x2000u);
  EXPECT_EQ(memory->unusable, 0x100u);
  EXPECT_EQ(memory->other, 0x10u);
  write("sys/firmware/memmap/4/end", "soon");
  EXPECT_FALSE(statistics.reservedMemory()) << "not all is told";
}

}  // namespace
}  // namespace zorva
