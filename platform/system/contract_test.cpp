// What accounts, identity and device information promise, on the simulated handset and on this
// machine.

#include <cerrno>
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/assemble/SimHandset.h"
#include "platform/system/linux/LinuxAccountDatabase.h"
#include "platform/system/linux/LinuxDeviceInformation.h"
#include "platform/system/linux/LinuxProcessIdentity.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {
namespace {

// Each world has the user "root", and a device named "Lab Phone" whose battery has a gauge.
struct SimWorld {
  SimHandset handset;
  AccountDatabase& accounts = handset.accounts();
  ProcessIdentity& identity = handset.identity();
  DeviceInformation& device = handset.device();
  SimWorld() {
    handset.accounts().removeUser("mobile");  // who has the ids of the user that runs this
    handset.accounts().setUser("root", {0, 0});
    handset.device().setAnswer("UserAssignedDeviceName", "Lab Phone");
    handset.device().setAnswer("gas-gauge-battery", true);
  }
};
struct LinuxWorld {
  DirectoryForTest root;
  LinuxAccountDatabase accounts;
  LinuxProcessIdentity identity;
  LinuxDeviceInformation device{[] { return Value(true); }, root / ""};
  LinuxWorld() { root.write("etc/machine-info", "PRETTY_HOSTNAME=\"Lab Phone\"\n"); }
};

template <typename World>
class SystemContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(SystemContract, Worlds);

TYPED_TEST(SystemContract, UsersAreFoundByNameAndById) {
  TypeParam world;
  const auto root = world.accounts.idsOfUser("root");
  ASSERT_TRUE(root);
  EXPECT_EQ(root->user, 0u);
  EXPECT_EQ(root->group, 0u);
  EXPECT_EQ(world.accounts.nameOfUser(0), "root");
  EXPECT_FALSE(world.accounts.idsOfUser("no such user"));
  EXPECT_FALSE(world.accounts.idsOfUser(""));
  EXPECT_FALSE(world.accounts.nameOfUser(3999999999));
}

TYPED_TEST(SystemContract, TheOwnUserMayBeTakenOnAgain) {
  TypeParam world;
  const std::uint32_t own = world.identity.effectiveUser();
  EXPECT_EQ(world.identity.setEffectiveUser(own), 0);
  EXPECT_EQ(world.identity.effectiveUser(), own);
}

TYPED_TEST(SystemContract, TheDeviceAnswersByKey) {
  TypeParam world;
  EXPECT_EQ(world.device.answer("UserAssignedDeviceName"), Value("Lab Phone"));
  EXPECT_EQ(world.device.answer("gas-gauge-battery"), Value(true));
  for (const char* key : {"NoSuchKey", ""}) EXPECT_TRUE(world.device.answer(key).isNothing());
}

}  // namespace
}  // namespace zorva
