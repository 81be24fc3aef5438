// SPDX-License-Identifier: Apache-2.0 The contract of the list of interface addresses, on the
// simulated handset and in a network namespace.

#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <sched.h>
#include <string>

#include "platform/assemble/SimHandset.h"
#include "platform/testing/ChildProcess.h"
#include "platform/traffic/linux/LinuxNetworkInterfaces.h"

namespace zorva {
namespace {

// Each world has the loopback, a link with an address, and a tunnel without a hardware address.
struct SimWorld {
  SimHandset handset;
  NetworkInterfaces& interfaces = handset.interfaces();
  bool prepare() {
    handset.interfaces().clear();
    handset.interfaces().setInterface({.name = "lo", .loopback = true, .networkAddresses = 1});
    handset.interfaces().setInterface({.name = "lan0", .networkAddresses = 2});
    handset.interfaces().setInterface({.name = "tun9"});
    return true;
  }
};
struct LinuxWorld {
  LinuxNetworkInterfaces interfaces;
  bool prepare() {
    return unshare(CLONE_NEWNET) == 0 && ip("link set lo up") &&
           ip("link add name lan0 type veth peer name lan1") &&
           ip("addr add 10.9.1.1/24 dev lan0") && ip("addr add 10.9.1.2/24 dev lan0") &&
           ip("tuntap add tun9 mode tun");
  }
  static bool ip(const std::string& command) {
    return std::system(("ip " + command + " 2>/dev/null").c_str()) == 0;
  }
};

template <typename World>
class InterfacesContract : public testing::Test {};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(InterfacesContract, Worlds);

TYPED_TEST(InterfacesContract, EachInterfaceHasOneLinkLayerElementWithItsCounters) {
  runInChild([] {
    TypeParam world;
    if (!world.prepare()) return false;
    const auto addresses = world.interfaces.addresses();
    if (!addresses) return ADD_FAILURE(), true;
    std::map<std::string, int> links;
    std::map<std::string, int> others;
    for (const auto& address : *addresses) {
      EXPECT_EQ(address.linkLayer, address.counters.has_value()) << address.interface;
      EXPECT_EQ(address.loopback, address.interface == "lo");
      ++(address.linkLayer ? links : others)[address.interface];
    }
    for (const char* name : {"lo", "lan0", "tun9"}) EXPECT_EQ(links[name], 1) << name;
    EXPECT_GE(others["lan0"], 2);
    EXPECT_EQ(others["tun9"], 0);
    return true;
  });
}

}  // namespace
}  // namespace zorva
