#include "platform/sim/SimHandset.h"

#include <fstream>
#include <gtest/gtest.h>

namespace zorva {
namespace {

namespace fs = std::filesystem;

// The points that no logger's or scenario's test arms.
TEST(SimFaults, EveryPointStrikesItsOperation) {
  SimHandset handset;
  const Platform& platform = handset.platform();
  const PreferencesStore::Scope scope{"com.vennor.zorva", "mobile"};
  platform.preferences.setValue(scope, "key", 1);
  platform.preferences.synchronize(scope);
  const int queue = platform.files.makeEventQueue();

  const std::pair<const char*, std::function<bool()>> operations[] = {
      {"accounts.idsOfUser", [&] { return platform.accounts.idsOfUser("mobile").has_value(); }},
      {"accounts.nameOfUser", [&] { return platform.accounts.nameOfUser(geteuid()).has_value(); }},
      {"batteryUsage.times", [&] { return platform.batteryUsage.times().has_value(); }},
      {"device.answer", [&] { return platform.device.answer("gas-gauge-battery").isBoolean(); }},
      {"files.openForEvents",
       [&] { return close(platform.files.openForEvents("/Library/Logs/Faultbox")) == 0; }},
      {"notifications.state",
       [&] { return platform.systemNotifications.state("name").has_value(); }},
      {"preferences.synchronize", [&] { return platform.preferences.synchronize(scope); }},
      {"preferences.value", [&] { return !platform.preferences.value(scope, "key").isNothing(); }},
      {"registry.firstPowerSource",
       [&] { return platform.registry.firstPowerSource() != nullptr; }},
      {"runLoop.watchDescriptor",
       [&] { return static_cast<bool>(platform.runLoop.watchDescriptor(queue, [] {})); }},
  };
  for (const auto& [point, works] : operations) {
    EXPECT_TRUE(works()) << point;
    handset.faults().fail(point);
    EXPECT_FALSE(works()) << point;
    EXPECT_TRUE(works()) << point;
  }
  close(queue);
}

TEST(SimFileSystem, TheCurrentLogIsTheOneThatTheScenarioHasNotWritten) {
  SimHandset handset;
  const std::string directory = "/Library/Logs/Faultbox/";
  const auto exists = [&](const std::string& path) {
    return fs::exists(handset.files().hostPath(path));
  };
  std::ofstream(handset.files().hostPath(directory + "Zorva_1.zorva")) << "the daemon's";
  handset.files().writeFile(directory + "Zorva_2.zorva", "later by name and by time");
  handset.files().moveLog("away");
  EXPECT_TRUE(exists("/Library/Logs/away") && !exists(directory + "Zorva_1.zorva"));
  handset.files().removeLog();
  EXPECT_TRUE(exists(directory + "Zorva_2.zorva"));
  EXPECT_EQ(handset.systemLog().takeLines().size(), 1U) << "there is no log any more";
}

TEST(SimRoot, ATemporaryOneIsRemoved) {
  fs::path root;
  {
    SimHandset handset;
    root = handset.root();
    std::ofstream(handset.files().hostPath("/Library/Logs/Faultbox/a log")) << "text";
    EXPECT_TRUE(fs::exists(root / "Library/Logs/Faultbox/a log"));
  }
  EXPECT_FALSE(fs::exists(root));
}

}  // namespace
}  // namespace zorva
