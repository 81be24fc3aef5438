// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <string>
#include <systemd/sd-bus.h>
#include <unistd.h>
#include <vector>

#include "platform/testing/ChildProcess.h"
#include "platform/testing/PrivateBus.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {

/// A logged-in user with a runtime directory, a bus that refuses others, and a session's service:
/// nobody's where the test is root's, else the test's own user's.
class UserSessionForTest {
 public:
  static uid_t user() { return ::geteuid() == 0 ? 65534 : ::geteuid(); }

  explicit UserSessionForTest(std::string users) : users_(std::move(users)) {}

  std::string runtime() const { return users_ + "/" + std::to_string(user()); }
  std::string address() const { return "unix:path=" + runtime() + "/bus"; }

  void logIn() {
    std::filesystem::create_directories(runtime());
    std::filesystem::permissions(runtime(), std::filesystem::perms(0700));
    ASSERT_EQ(::chown(runtime().c_str(), user(), user()), 0);
  }
  void startBus() {
    bus_ = run({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + address()});
    for (int tries = 0; tries < 1000 && !std::filesystem::exists(runtime() + "/bus"); ++tries) {
      usleep(10'000);
    }
  }
  void logOut() {
    service_.reset();
    bus_.reset();
    std::filesystem::remove_all(runtime());
  }

  /// Starts a service of SessionMock.py, and waits until it is there.
  void startService(const std::string& kind) {
    // The user may not be allowed to read where this tree lies (/root, another's home).
    std::ifstream script("platform/testing/SessionMock.py");
    const std::string text((std::istreambuf_iterator<char>(script)), {});
    service_ = run({"/usr/bin/python3", "-I", "-c", text, kind, address()});
    name_ =
        kind == "gnome" ? "org.gnome.SessionManager" : "org.kde.Solid.PowerManagement.PolicyAgent";
    path_ = kind == "gnome" ? "/org/gnome/SessionManager"
                            : "/org/kde/Solid/PowerManagement/PolicyAgent";
    for (int tries = 0; tries < 1000; ++tries) {
      if (call("/mock", "org.freedesktop.DBus.Peer", "Ping", "") >= 0) return;
      usleep(20'000);
    }
    ADD_FAILURE() << kind << " does not come up";
  }
  void stopService() { service_.reset(); }
  ChildForTest& bus() { return *bus_; }
  ChildForTest& service() { return *service_; }

  /// Calls as an application of the user does. The status is 0 when it is answered.
  template <typename... Arguments>
  int callService(const char* member, const char* types, Arguments... arguments) {
    return call(path_.c_str(), name_.c_str(), member, types, arguments...);
  }
  void act(const std::string& code) {
    EXPECT_EQ(call("/mock", "org.zorva.Mock", "Do", "s", code.c_str()), 0) << code;
  }

 private:
  static bool become() {
    return ::geteuid() != 0 ||
           (::setresgid(user(), user(), user()) == 0 && ::setresuid(user(), user(), user()) == 0);
  }
  static std::unique_ptr<ChildForTest> run(std::vector<std::string> words) {
    return std::make_unique<ChildForTest>([&] {
      std::vector<char*> arguments;
      for (std::string& word : words) arguments.push_back(word.data());
      arguments.push_back(nullptr);
      return become() ? execvp(arguments[0], arguments.data()) : 1;
    });
  }
  template <typename... Arguments>
  int call(const char* path, const char* interface, const char* member, const char* types,
           Arguments... arguments) {
    return ChildForTest([&] {
             sd_bus* bus = nullptr;
             return become() && sd_bus_new(&bus) >= 0 &&
                            sd_bus_set_address(bus, address().c_str()) >= 0 &&
                            sd_bus_set_bus_client(bus, 1) >= 0 && sd_bus_start(bus) >= 0 &&
                            sd_bus_call_method(bus, name_.c_str(), path, interface, member, nullptr,
                                               nullptr, types, arguments...) >= 0
                        ? 0
                        : 1;
           }).status() == 0
               ? 0
               : -1;
  }

  std::string users_, name_, path_;
  std::unique_ptr<ChildForTest> bus_, service_;
};

}  // namespace zorva
