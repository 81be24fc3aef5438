#include "platform/sim/SimHandset.h"

#include <fstream>
#include <gtest/gtest.h>

#include "platform/SystemStatistics.h"

namespace zorva {
namespace {

namespace fs = std::filesystem;

TEST(SimFaults, StrikeAsOftenAsToldWithTheCodeAskedFor) {
  SimHandset handset;
  SimFaults& faults = handset.faults();
  RegistryEntry& battery = handset.battery().entry();
  Dictionary properties;

  EXPECT_EQ(faults.fail("battery.properties", 2, 0xE00002D8), SimFaults::Outcome::Armed);
  EXPECT_EQ(battery.readProperties(properties), 0xE00002D8);
  EXPECT_EQ(battery.readProperties(properties), 0xE00002D8);
  EXPECT_TRUE(properties.empty());
  EXPECT_EQ(battery.readProperties(properties), kRegistrySuccess);
  EXPECT_EQ(properties["CurrentCapacity"].integer(), 1120);

  EXPECT_EQ(faults.fail("battery.properties"), SimFaults::Outcome::Armed);
  EXPECT_EQ(battery.readProperties(properties), kRegistryNoDevice);

  faults.fail("battery.property", 5);
  faults.clear();
  EXPECT_EQ(battery.readProperty("Voltage").integer(), 3921);

  EXPECT_EQ(faults.fail("battery.proprieties"), SimFaults::Outcome::UnknownPoint);
  EXPECT_EQ(faults.fail("files.makeEventQueue", 1, 7), SimFaults::Outcome::NoResultCode);
}

// Every armed point makes its operation answer as the interface says it fails.
TEST(SimFaults, EveryPointStrikesItsOperation) {
  SimHandset handset;
  const Platform& platform = handset.platform();
  const PreferencesStore::Scope scope{"com.vennor.zorva", "mobile"};
  platform.preferences.setValue(scope, "key", 1);
  platform.preferences.synchronize(scope);
  const int directory = platform.files.openForEvents("/Library/Logs/Faultbox");
  const int queue = platform.files.makeEventQueue();
  const auto port = platform.registry.makeNotificationPort();
  const auto entry = platform.registry.firstPowerSource();
  Registration interest;
  Dictionary properties;

  const std::map<std::string, std::function<bool()>> works = {
      {"accounts.idsOfUser", [&] { return platform.accounts.idsOfUser("mobile").has_value(); }},
      {"accounts.nameOfUser", [&] { return platform.accounts.nameOfUser(geteuid()).has_value(); }},
      {"battery.properties", [&] { return entry->readProperties(properties) == 0; }},
      {"battery.property", [&] { return !entry->readProperty("Voltage").isNothing(); }},
      {"batteryUsage.times", [&] { return platform.batteryUsage.times().has_value(); }},
      {"device.answer",
       [&] { return !platform.device.answer("UserAssignedDeviceName").isNothing(); }},
      {"files.makeEventQueue", [&] { return close(platform.files.makeEventQueue()) == 0; }},
      {"files.openForEvents",
       [&] { return close(platform.files.openForEvents("/Library/Logs/Faultbox")) == 0; }},
      {"files.watchDirectory", [&] { return platform.files.watchDirectory(queue, directory); }},
      {"interfaces.addresses", [&] { return platform.interfaces.addresses().has_value(); }},
      {"locale.observe",
       [&] { return !!platform.locale.observe(LocaleInformation::Change::Locale, [] {}); }},
      {"notifications.state",
       [&] { return platform.systemNotifications.state("name").has_value(); }},
      {"notifications.subscribe",
       [&] { return !!platform.systemNotifications.subscribe("name", [](auto&&) {}); }},
      {"powerManagement.copyAssertionsByProcess",
       [&] { return platform.powerManagement.copyAssertionsByProcess().has_value(); }},
      {"preferences.synchronize", [&] { return platform.preferences.synchronize(scope); }},
      {"preferences.value", [&] { return !platform.preferences.value(scope, "key").isNothing(); }},
      {"processes.commandName", [&] { return platform.processes.commandName(1).has_value(); }},
      {"registry.addInterest",
       [&] { return port->addInterest(entry, nullptr, interest) == kRegistrySuccess; }},
      {"registry.addToRunLoop", [&] { return port->addToRunLoop(); }},
      {"registry.firstPowerSource",
       [&] { return platform.registry.firstPowerSource() != nullptr; }},
      {"runLoop.watchDescriptor", [&] { return !!platform.runLoop.watchDescriptor(queue, [] {}); }},
  };
  for (const std::string& point : handset.faults().names()) {
    if (point.starts_with("statistics.")) continue;  // tested with the statistics
    const auto operation = works.find(point);
    ASSERT_NE(operation, works.end()) << point;
    EXPECT_TRUE(operation->second()) << point;
    handset.faults().fail(point);
    EXPECT_FALSE(operation->second()) << point;
    EXPECT_TRUE(operation->second()) << point;
  }
  close(queue);
  close(directory);
}

TEST(SimRoot, ATemporaryOneIsRemovedAndAnotherStays) {
  fs::path temporary;
  fs::path kept;
  {
    SimHandset handset;
    temporary = handset.root();
    kept = temporary / "kept";
    std::ofstream(handset.files().hostPath("/Library/Logs/Faultbox/a log")) << "text";
    { const SimHandset inside(std::make_unique<SimRoot>(kept)); }
    EXPECT_TRUE(fs::exists(kept / "Library/Logs/Faultbox"));
  }
  EXPECT_FALSE(fs::exists(temporary));
}

}  // namespace
}  // namespace zorva
