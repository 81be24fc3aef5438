#include "platform/sim/SimRun.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace zorva {
namespace {

class SimRunTest : public ::testing::Test {
 protected:
  std::string write(const std::string& name, const std::string& text) {
    const std::string path = (files.path() / name).string();
    std::ofstream(path) << text;
    return path;
  }

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

TEST_F(SimRunTest, MakesTheHandsetOfTheScenarioReady) {
  const std::string scenario = write("day.yaml",
                                     "device: {battery: {level: 42}}\n"
                                     "steps: [{at: 1s, move_log: away}]\n");
  const std::string root = (files.path() / "root").string();
  auto run = start({scenario, "--root", root, "--", "-B", "-q"});
  ASSERT_TRUE(run) << err.str();
  EXPECT_EQ(status, 0);
  ASSERT_EQ(run->zorvaArgumentCount(), 3);
  EXPECT_STREQ(run->zorvaArguments()[0], "zorva");
  EXPECT_STREQ(run->zorvaArguments()[2], "-q");
  EXPECT_EQ(run->zorvaArguments()[3], nullptr);
  EXPECT_EQ(run->handset().battery().entry().readProperty("CurrentCapacity"), Value(588));
  EXPECT_TRUE(std::filesystem::exists(root + "/Library/Logs/Faultbox"));
  run->platform().runLoop.run();
  EXPECT_EQ(err.str(), "syslog: scenario: there is no log: No such file or directory\n");
}

TEST_F(SimRunTest, SaysWhatIsWrongAndEndsWithStatus2) {
  const std::string good = write("good.yaml", "end: 1h");
  const std::string bad = write("bad.yaml", "ende: 1h");
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
      {{bad}, "zorva-sim: " + bad + ":1:1: the key \"ende\" is not known here"},
      {{bad + "x"}, "zorva-sim: " + bad + "x: cannot be read: No such file or directory\n"},
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
