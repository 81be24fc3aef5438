#include "platform/sim/SimHandset.h"

#include <fstream>
#include <gtest/gtest.h>

namespace zorva {
namespace {

namespace fs = std::filesystem;

TEST(SimFileSystem, TheCurrentLogIsTheOneThatTheScenarioHasNotWritten) {
  auto handset = std::make_unique<SimHandset>();
  SimFileSystem& files = handset->files();
  const std::string directory = "/Library/Logs/Faultbox/";
  const auto exists = [&](const std::string& path) { return fs::exists(files.hostPath(path)); };
  std::ofstream(files.hostPath(directory + "Zorva_1.zorva")) << "the daemon's";
  files.writeFile(directory + "Zorva_2.zorva", "later by name and by time");
  files.moveLog("away");
  EXPECT_TRUE(exists("/Library/Logs/away") && !exists(directory + "Zorva_1.zorva"));
  files.removeLog();
  EXPECT_TRUE(exists(directory + "Zorva_2.zorva"));
  EXPECT_EQ(handset->systemLog().takeLines().size(), 1U) << "there is no log any more";

  const fs::path root = handset->root();
  handset.reset();
  EXPECT_FALSE(fs::exists(root)) << "a temporary one is removed";
}

TEST(SimSystemPower, ASleepThatIsHeldUpIsToldAndOthersAreNot) {
  SimHandset handset;
  SimSystemPower& power = handset.systemPower();
  std::vector<std::intptr_t> arguments;
  SystemPower::Registered registered = power.registerForSystemPower(
      [&](std::uint32_t, std::intptr_t argument) { arguments.push_back(argument); });
  power.sleep();
  EXPECT_TRUE(arguments.empty()) << "its source is not on the run loop";
  const Registration source = registered.port->addSourceToRunLoop();
  const auto linesAfter = [&](double seconds) {
    handset.runLoop().advance(seconds);
    return handset.systemLog().takeLines();
  };
  power.sleep();
  power.allowPowerChange(registered.connection, arguments.at(1));
  power.allowPowerChange(registered.connection + 1, arguments.at(0));
  EXPECT_TRUE(linesAfter(29).empty());
  EXPECT_EQ(linesAfter(3600),
            (std::vector<std::string>{"power: the sleep was not allowed within 30 seconds"}));
  power.sleep();
  for (std::intptr_t argument : arguments) {
    power.allowPowerChange(registered.connection, argument);
  }
  power.wake("rtc");
  EXPECT_EQ(arguments.size(), 5U);
  power.deregisterForSystemPower(registered.notifier);
  power.sleep();
  EXPECT_EQ(arguments.size(), 5U);
  EXPECT_TRUE(linesAfter(3600).empty());
}

}  // namespace
}  // namespace zorva
