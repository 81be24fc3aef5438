#include <arpa/inet.h>
#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/sim/Scenario.h"
#include "platform/sim/SimHandset.h"

namespace zorva {
namespace {

// "number type kind state local port, remote port" of each descriptor.
std::vector<std::string> descriptorsOf(ProcessInformation& processes, std::int32_t process) {
  std::array<proc_fdinfo, 16> descriptors;
  const ProcAnswer answer = processes.proc_pidinfo(process, descriptors);
  std::vector<std::string> told;
  for (int i = 0; i < answer.bytes / 8; ++i) {
    const auto [number, type] = descriptors.at(i);
    socket_fdinfo socket;
    const ProcAnswer known = processes.proc_pidfdinfo(process, number, socket);
    EXPECT_EQ(known.bytes, type == kDescriptorIsSocket ? kSocketFdInfoSize : 0);
    EXPECT_EQ(socket.insi_lport >> 16, 0U);
    told.push_back(std::to_string(number) + " " + std::to_string(type) + " " +
                   std::to_string(socket.soi_kind) + " " + std::to_string(socket.tcpsi_state) +
                   " " + std::to_string(ntohs(static_cast<std::uint16_t>(socket.insi_lport))) +
                   " " + std::to_string(ntohs(static_cast<std::uint16_t>(socket.insi_fport))));
  }
  return told;
}

TEST(SimProcessTable, OpensAndClosesSockets) {
  SimHandset handset;
  ProcessInformation& processes = handset.processInformation();
  const Scenario scenario = Scenario::read(R"(
device:
  processes:
    - id: 7
      name: demo
      open_files: 1
      sockets:
        - {tcp: 0.0.0.0:80}
        - {udp: 0.0.0.0:5353, remote: 1.2.3.4:9}
        - {tcp: 10.2.3.4:49152, remote: 192.0.2.7:993, state: fin_wait_2}
        - {other: true}
steps:
  - at: 1m
    sockets:
      close: [{process: 7, udp: 0.0.0.0:5353}, {process: 7, tcp: 0.0.0.0:80}]
      open: {process: 7, tcp: 10.2.3.4:49153, remote: 192.0.2.7:993}
)",
                                           "day", handset);
  scenario.begin(handset);
  using Told = std::vector<std::string>;
  EXPECT_EQ(descriptorsOf(processes, 7), (Told{"0 1 0 0 0 0", "1 2 2 1 80 0", "2 2 1 0 5353 9",
                                               "3 2 2 9 49152 993", "4 2 0 0 0 0"}));
  handset.runLoop().run();
  EXPECT_EQ(descriptorsOf(processes, 7),
            (Told{"0 1 0 0 0 0", "1 2 2 4 49153 993", "3 2 2 9 49152 993", "4 2 0 0 0 0"}));
}

TEST(SimProcessTable, RefusesSocketsThatCannotBe) {
  const std::string start = "device:\n  processes: [{id: 7, name: a, sockets: [";
  const std::string step =
      "device:\n  processes: [{id: 7, name: a}]\nsteps:\n  - at: 1\n    sockets: ";
  const std::pair<std::string, std::string> cases[] = {
      {start + "{tcp: 1.2.3.4}]}]",
       "day:2:48: this is no address and port, such as 10.2.3.4:49152"},
      {start + "{tcp: \"1.2.3.4:65536\"}]}]",
       "day:2:48: this is no address and port, such as 10.2.3.4:49152"},
      {start + "{remote: \"1.2.3.4:5\"}]}]", "day:2:42: a socket is one of tcp, udp and other"},
      {start + "{udp: \"1.2.3.4:5\", state: closed}]}]", "day:2:68: only a tcp socket has a state"},
      {step + "{close: {process: 7, other: true}}",
       "day:5:22: the process has no such socket then"},
      {step + "{open: {process: 8, other: true}}", "day:5:31: there is no process of this id then"},
  };
  for (const auto& [text, message] : cases) {
    SimHandset handset;
    std::string refusal;
    try {
      Scenario::read(text + "\n", "day", handset);
    } catch (const ScenarioError& error) {
      refusal = error.what();
    }
    EXPECT_EQ(refusal, message);
  }
}

}  // namespace
}  // namespace zorva
