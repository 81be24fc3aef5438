// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>

#include "platform/bluetooth/linux/BluezObjects.h"
#include "platform/testing/PrivateBus.h"

namespace zorva {

/// A mock BlueZ from the mock library's own template, on a private bus.
struct BluezForTest {
  static constexpr const char* kMock = "org.bluez.Mock";
  PrivateBusForTest bus;

  void start() {
    service_ = runProgram({"/usr/bin/python3", "-m", "dbusmock", "--system", "--logfile=/dev/null",
                           "--template", "bluez5"});
    while (bus.call(bluez::kService, "/", "org.freedesktop.DBus.Peer", "Ping", "") < 0) {
      usleep(20'000);
    }
  }
  void stop() { service_.reset(); }
  template <typename... Arguments>
  void call(const std::string& path, const char* interface, const char* member, const char* types,
            Arguments... arguments) {
    EXPECT_GE(bus.call(bluez::kService, path, interface, member, types, arguments...), 0);
  }
  void set(const char* adapter, const char* property, bool value) {
    call(adapter, "org.freedesktop.DBus.Properties", "Set", "ssv", bluez::kAdapter, property, "b",
         int{value});
  }

 private:
  std::unique_ptr<ChildForTest> service_;
};

}  // namespace zorva
