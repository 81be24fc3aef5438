// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <stdlib.h>
#include <string>
#include <systemd/sd-bus.h>
#include <unistd.h>
#include <vector>

#include "platform/testing/ChildProcess.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {

/// Runs a program until the result is destroyed.
inline std::unique_ptr<ChildForTest> runProgram(std::vector<std::string> words) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  return std::make_unique<ChildForTest>([&] { return execvp(arguments[0], arguments.data()); });
}

/// A private system bus with mock services.
class PrivateBusForTest {
 public:
  static constexpr const char* kMock = "org.freedesktop.DBus.Mock";  ///< of every mocked object

  /// Prepares the bus's directory; start() starts the bus. From now on it is the system bus of this
  /// process.
  PrivateBusForTest() {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address().c_str(), 1);
    directory_.write("bus.conf",
                     "<busconfig><type>session</type><listen>" + address() +
                         "</listen><policy context='default'>"
                         "<allow send_destination='*' eavesdrop='true'/>"
                         "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>");
  }

  std::string address() const { return "unix:path=" + (directory_ / "bus"); }

  void start() {
    daemon_ = runProgram(
        {"dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + (directory_ / "bus.conf")});
  }
  void stop() { daemon_.reset(); }
  /// From now on it accepts connections and never replies.
  void halt() { kill(daemon_->pid(), SIGSTOP); }
  void resume() { kill(daemon_->pid(), SIGCONT); }

  /// Starts a service with one object, and waits until it is on the bus.
  std::unique_ptr<ChildForTest> startService(const std::string& name, const std::string& path,
                                             const std::string& interface) {
    auto service = runProgram({"/usr/bin/python3", "-m", "dbusmock", "--system",
                               "--logfile=/dev/null", name, path, interface});
    // The mock is running once it replies to a call.
    for (int tries = 0; tries < 1000; ++tries) {
      if (call(name, path, "org.freedesktop.DBus.Peer", "Ping", "") >= 0) return service;
      usleep(20'000);
    }
    ADD_FAILURE() << name << " does not come up";
    return service;
  }

  /// Calls a method of a service, as another client of the bus. Negative on failure.
  template <typename... Arguments>
  int call(const std::string& name, const std::string& path, const char* interface,
           const char* member, const char* types, Arguments... arguments) {
    sd_bus* bus = nullptr;
    int result = sd_bus_open_system(&bus);
    if (result >= 0) {
      result = sd_bus_call_method(bus, name.c_str(), path.c_str(), interface, member, nullptr,
                                  nullptr, types, arguments...);
    }
    sd_bus_flush_close_unref(bus);
    return result;
  }

 private:
  DirectoryForTest directory_;
  std::unique_ptr<ChildForTest> daemon_;
};

}  // namespace zorva
