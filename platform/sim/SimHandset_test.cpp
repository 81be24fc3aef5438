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
      {"files.makeEventQueue",
       [&] {
         const int made = platform.files.makeEventQueue();
         if (made >= 0) close(made);
         return made >= 0;
       }},
      {"files.openForEvents",
       [&] {
         const int opened = platform.files.openForEvents("/Library/Logs/Faultbox");
         if (opened >= 0) close(opened);
         return opened >= 0;
       }},
      {"files.watchDirectory", [&] { return platform.files.watchDirectory(queue, directory); }},
      {"interfaces.addresses", [&] { return platform.interfaces.addresses().has_value(); }},
      {"locale.observe",
       [&] {
         return static_cast<bool>(
             platform.locale.observe(LocaleInformation::Change::Locale, [] {}));
       }},
      {"notifications.state",
       [&] { return platform.systemNotifications.state("name").has_value(); }},
      {"notifications.subscribe",
       [&] {
         return static_cast<bool>(
             platform.systemNotifications.subscribe("name", [](std::string_view) {}));
       }},
      {"powerManagement.copyAssertionsByProcess",
       [&] { return platform.powerManagement.copyAssertionsByProcess().has_value(); }},
      {"preferences.synchronize", [&] { return platform.preferences.synchronize(scope); }},
      {"preferences.value", [&] { return !platform.preferences.value(scope, "key").isNothing(); }},
      {"processes.commandName", [&] { return platform.processes.commandName(1).has_value(); }},
      {"registry.addInterest",
       [&] {
         return port->addInterest(
                    entry, [](auto&&...) {}, interest) == kRegistrySuccess;
       }},
      {"registry.addToRunLoop", [&] { return port->addToRunLoop(); }},
      {"registry.firstPowerSource",
       [&] { return platform.registry.firstPowerSource() != nullptr; }},
      {"runLoop.watchDescriptor",
       [&] { return static_cast<bool>(platform.runLoop.watchDescriptor(queue, [] {})); }},
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

TEST(SimDeviceRegistry, MessagesReachAPortOnTheRunLoopUntilTheInterestEnds) {
  SimHandset handset;
  DeviceRegistry& registry = handset.platform().registry;
  auto port = registry.makeNotificationPort();
  const auto entry = registry.firstPowerSource();
  std::vector<std::uint32_t> messages;
  Registration interest;
  ASSERT_EQ(port->addInterest(
                entry,
                [&](const auto& from, std::uint32_t type, const Value&) {
                  EXPECT_EQ(from, entry);
                  messages.push_back(type);
                },
                interest),
            kRegistrySuccess);
  EXPECT_EQ(port->addInterest(
                nullptr, [](auto&&...) {}, interest),
            kRegistryBadArgument);

  handset.battery().announce();
  EXPECT_TRUE(messages.empty());  // not on the run loop yet
  port->addToRunLoop();
  handset.battery().announce();
  handset.battery().announce(0xE0000130);
  EXPECT_EQ(messages, (std::vector<std::uint32_t>{kBatteryStatusChanged, kPropertyChanged}));

  handset.battery().setPresent(false);
  Dictionary properties;
  EXPECT_EQ(entry->readProperties(properties), kRegistryNoDevice);
  EXPECT_TRUE(entry->readProperty("Voltage").isNothing());
  EXPECT_EQ(registry.firstPowerSource(), nullptr);

  port.reset();
  handset.battery().announce();
  EXPECT_EQ(messages.size(), 2U);
}

TEST(SimPowerManagement, TellsEveryChangeAndKeepsTheOrderOfTaking) {
  SimHandset handset;
  int changes = 0;
  const Registration subscription = handset.notifications().subscribe(
      SimPowerManagement::kAssertionsChanged, [&](std::string_view) { ++changes; });
  SimPowerManagement& power = handset.powerManagement();
  power.take(45, "Playing");
  power.take(23, "Sync");
  handset.runLoop().advance(90);
  power.take(45, "Playing");
  EXPECT_TRUE(power.release(45, "Playing"));
  EXPECT_FALSE(power.release(45, "Paused"));
  EXPECT_EQ(changes, 4);

  const auto held = handset.platform().powerManagement.copyAssertionsByProcess();
  ASSERT_EQ(held->size(), 2U);
  EXPECT_EQ((*held)[0].process, 45);
  EXPECT_EQ((*held)[0].records.at(0)["AssertStartWhen"].date(),
            SimHandset::kStart + std::chrono::seconds(90));  // the older one was released
  power.releaseAll(45);
  power.releaseAll(45);
  EXPECT_EQ(changes, 5);
}

TEST(SimLocaleInformation, AnswersForThePresentMomentAndTellsChanges) {
  SimHandset handset;
  LocaleInformation& locale = handset.platform().locale;
  using Change = LocaleInformation::Change;
  std::string told;
  const Registration zone = locale.observe(Change::TimeZone, [&] { told += "zone "; });
  const Registration clock = locale.observe(Change::ClockSet, [&] { told += "clock "; });
  const auto dates = handset.platform().dates.makeFormatter("MM/dd/YY HH:mm:ss");
  EXPECT_EQ(dates->format(handset.clock().now()), "11/16/26 14:00:00");

  handset.locale().setTimeZone("America/Los_Angeles");
  EXPECT_EQ(locale.timeZoneAbbreviation(), "PST");
  EXPECT_FALSE(locale.daylightSavingTime());
  EXPECT_EQ(dates->format(handset.clock().now()), "11/16/26 06:00:00");

  handset.locale().setClock(SimHandset::kStart - std::chrono::days(120));
  EXPECT_EQ(locale.timeZoneAbbreviation(), "PDT");
  EXPECT_TRUE(locale.daylightSavingTime());
  EXPECT_EQ(told, "zone clock ");

  EXPECT_EQ(locale.countryCode(), "US");
  handset.locale().setIdentifier("eo");
  EXPECT_EQ(locale.countryCode(), std::nullopt);
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
