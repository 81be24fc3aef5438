#include <gtest/gtest.h>
#include <string>

#include "platform/sim/Scenario.h"
#include "platform/sim/SimHandset.h"

namespace zorva {
namespace {

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
