#include "platform/sim/SimRun.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace zorva {
namespace {

class SimRunTest : public ::testing::Test {
 protected:
  std::optional<SimRun> start(std::vector<std::string> arguments) {
    std::vector<const char*> argv{"zorva-sim"};
    for (const std::string& argument : arguments) argv.push_back(argument.c_str());
    out.str("");
    err.str("");
    return SimRun::fromArguments(static_cast<int>(argv.size()), argv.data(), status, out, err);
  }

  SimRoot files;
  std::ostringstream out;
  std::ostringstream err;
  int status = -1;
};

TEST_F(SimRunTest, SaysWhatIsWrongAndEndsWithStatus2) {
  const std::string good = (files.path() / "good.yaml").string();
  std::ofstream(good) << "end: 1h";
  const struct {
    std::vector<std::string> arguments;
    std::string error;  // how it starts
  } cases[] = {
      {{}, "zorva-sim: no scenario is given\nUsage: zorva-sim SCENARIO"},
      {{good, good}, "zorva-sim: more than one scenario\nUsage"},
      {{good, "-B"}, "zorva-sim: unknown option -B; options for zorva come after --\nUsage"},
      {{good, "--root"}, "zorva-sim: --root needs a directory\nUsage"},
      {{good, "--root="}, "zorva-sim: --root needs a directory\nUsage"},
      {{good, "--root", good}, "zorva-sim: the handset's files have no place: "},
      {{files.path().string()},
       "zorva-sim: " + files.path().string() + ": cannot be read: Is a directory\n"},
  };
  for (const auto& [arguments, error] : cases) {
    EXPECT_FALSE(start(arguments));
    EXPECT_EQ(status, 2) << error;
    EXPECT_EQ(err.str().substr(0, error.size()), error);
    EXPECT_EQ(out.str(), "");
  }
  EXPECT_FALSE(start({"--help"}));
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(out.str().starts_with("Usage: zorva-sim"));
}

}  // namespace
}  // namespace zorva
