// SPDX-License-Identifier: Apache-2.0 The contract of the services for the device, its users and
// this process, on the simulated handset and on this machine.

#include <cerrno>
#include <gtest/gtest.h>

#include "platform/assemble/SimHandset.h"
#include "platform/system/linux/LinuxAccountDatabase.h"
#include "platform/system/linux/LinuxDeviceInformation.h"
#include "platform/system/linux/LinuxProcessIdentity.h"
#include "platform/testing/ChildProcess.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {
namespace {

struct SimWorld {
  static constexpr const char* kUser = "mobile";
  SimHandset handset;
  SimDeviceInformation& device = handset.device();
  SimAccountDatabase& accounts = handset.accounts();
  SimProcessIdentity& identity = handset.identity();
  void nameDevice(const char* name) { device.setAnswer("UserAssignedDeviceName", name); }
  static bool mayBecomeAnyUser() { return true; }
};
struct LinuxWorld {
  static constexpr const char* kUser = "root";
  DirectoryForTest root;
  LinuxDeviceInformation device{[] { return Value(true); }, root / ""};
  LinuxAccountDatabase accounts;
  LinuxProcessIdentity identity;
  void nameDevice(const char* name) {
    root.write("etc/machine-info", std::string("PRETTY_HOSTNAME=\"") + name + "\"\n");
  }
  static bool mayBecomeAnyUser() { return geteuid() == 0; }
};

template <typename World>
class SystemContract : public testing::Test {
 protected:
  World world_;
};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(SystemContract, Worlds);

TYPED_TEST(SystemContract, ResultsAreCurrentAndUnknownKeysHaveNone) {
  for (const char* name : {"Ann's Phone", "B"}) {
    this->world_.nameDevice(name);
    EXPECT_EQ(this->world_.device.answer("UserAssignedDeviceName"), Value(name));
  }
  EXPECT_EQ(this->world_.device.answer("gas-gauge-battery"), Value(true));
  for (const char* key : {"NoSuchKey", ""}) {
    EXPECT_TRUE(this->world_.device.answer(key).isNothing());
  }
  AccountDatabase& accounts = this->world_.accounts;
  const auto ids = accounts.idsOfUser(TypeParam::kUser);
  ASSERT_TRUE(ids);
  EXPECT_EQ(accounts.nameOfUser(ids->user), TypeParam::kUser);
  for (const char* none : {"", "no such user", "0"}) EXPECT_FALSE(accounts.idsOfUser(none)) << none;
  EXPECT_FALSE(accounts.nameOfUser(3999999999));
}

TYPED_TEST(SystemContract, ARefusedChangeOfUserChangesNothing) {
  runInChild([this] {
    ProcessIdentity& identity = this->world_.identity;
    const std::uint32_t user = identity.effectiveUser();
    EXPECT_EQ(identity.setEffectiveUser(UINT32_MAX), EINVAL) << "the id of no user";
    EXPECT_EQ(identity.effectiveUser(), user);
    const bool may = TypeParam::mayBecomeAnyUser();
    EXPECT_EQ(identity.setEffectiveUser(1234), may ? 0 : EPERM);
    EXPECT_EQ(identity.effectiveUser(), may ? 1234 : user);
    EXPECT_EQ(identity.setEffectiveUser(user), 0);
    EXPECT_EQ(identity.effectiveUser(), user);
    return true;
  });
}

}  // namespace
}  // namespace zorva
