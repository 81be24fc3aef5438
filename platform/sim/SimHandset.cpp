#include "platform/sim/SimHandset.h"

#include <stdlib.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/SystemStatistics.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

// Holds the place of the statistics until the simulated ones are merged.
class NoStatistics : public SystemStatistics {
  KernelResult none() { return {5, "not simulated yet"}; }
  KernelResult memorySize(std::uint64_t&) override { return none(); }
  std::uint64_t pageSize() override { return 4096; }
  std::uint64_t reservedMemory() override { return 0; }
  KernelResult cpuLoad(HostCpuLoad&) override { return none(); }
  KernelResult loadAverages(double (&)[3]) override { return none(); }
  KernelResult vmStatistics(HostVmStatistics&) override { return none(); }
  KernelResult swapUsage(SwapUsage&) override { return none(); }
  KernelResult networkTotals(NetworkTotals&) override { return none(); }
  KernelResult diskTotals(DiskTotals&) override { return none(); }
  KernelResult frameworkMemory(std::uint64_t&) override { return none(); }
  KernelResult listTasks(std::vector<std::int32_t>&) override { return none(); }
  KernelResult sampleTask(std::int32_t, TaskDetail, TaskSample&) override { return none(); }
};

fs::path makeTemporaryDirectory() {
  std::string name = (fs::temp_directory_path() / "zorva-sim.XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) {
    throw fs::filesystem_error("cannot make a temporary directory", name,
                               std::error_code(errno, std::generic_category()));
  }
  return name;
}

}  // namespace

SimRoot::SimRoot() : path_(makeTemporaryDirectory()), temporary_(true) {
  makeDirectories();
}

SimRoot::SimRoot(const fs::path& directory) : path_(fs::absolute(directory)), temporary_(false) {
  makeDirectories();
}

SimRoot::~SimRoot() {
  std::error_code ignored;
  if (temporary_) fs::remove_all(path_, ignored);
}

void SimRoot::makeDirectories() const {
  fs::create_directories(path_ / "Library/Logs/Faultbox");
  fs::create_directories(path_ / "var/mobile/Library/Preferences");
}

SimHandset::SimHandset(std::unique_ptr<SimRoot> root)
    : root_(std::move(root)),
      statistics_(std::make_unique<NoStatistics>()),
      platform_{runLoop_,         clock_,     systemLog_,  notifications_, files_,    accounts_,
                preferences_,     device_,    dates_,      locale_,        registry_, batteryUsage_,
                powerManagement_, processes_, interfaces_, *statistics_} {
  makeHealthy();
}

SimHandset::~SimHandset() = default;

void SimHandset::makeHealthy() {
  accounts_.setUser("mobile", {::geteuid(), ::getegid()});
  device_.setAnswer("UserAssignedDeviceName", "Sim Phone");
  device_.setAnswer("gas-gauge-battery", true);
  batteryUsage_.setTimes(BatteryUsage::Times{3725.0F, 86400.0F});
  interfaces_.setInterface({.name = "lo0", .loopback = true, .networkAddresses = 1});
  interfaces_.setInterface({.name = "en0", .counters = {123456, 7890}, .networkAddresses = 1});
  interfaces_.setInterface({.name = "pdp_ip0", .counters = {0, 0}});
  processes_.setProcess(1, "init");
  processes_.setProcess(23, "configurator");
  processes_.setProcess(45, "mediad");
  processes_.setProcess(61, "Homescreen");
}

}  // namespace zorva
